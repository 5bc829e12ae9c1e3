// The pools: taking and giving back a record, and handing records over.
#include <benchmark/benchmark.h>

#include <atomic>
#include <thread>
#include <vector>

#include "NodeManager/NodeRecords.h"

namespace {

NodeRecycle<tagSendBuffer> g_recycler;

// Range: records taken before the first goes back.
void PoolTakeAndGive(benchmark::State& state) {
    std::vector<tagSendBuffer*> taken(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        for (auto& record : taken)
            record = g_recycler.CreateNode();
        for (auto* record : taken)
            g_recycler.FreeNode(record);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(PoolTakeAndGive)->Arg(1)->Arg(32)->ThreadRange(1, 2);

// One record in, one out, on one thread: the price of the locks. First range: kind of queue;
// second: records per call.
void QueuePutAndTake(benchmark::State& state) {
    auto* queue = NodeManager<DataBuffer>::CreateInstance(state.range(0), 1024);
    const long count = state.range(1);
    std::vector<DataBuffer> records(static_cast<size_t>(count));
    std::vector<DataBuffer*> pointers, out(records.size());
    for (auto& record : records)
        pointers.push_back(&record);
    for (auto _ : state) {
        queue->SetNode(pointers.data(), count);
        queue->GetNode(out.data(), count);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * count);
    queue->Release();
}
BENCHMARK(QueuePutAndTake)
    ->ArgNames({"kind", "batch"})
    ->ArgsProduct({{NODE_RING, NODE_LINK, NODE_ROUND}, {1, 64}});

// From one thread to another, as poll thread and message worker do it.
void QueueHandOff(benchmark::State& state) {
    auto* queue = NodeManager<DataBuffer>::CreateInstance(NODE_LINK, 0);
    NodeRecycle<DataBuffer> recycler;
    std::atomic<bool> stop{false};
    std::thread consumer([&] {
        DataBuffer* batch[64];
        for (;;) {
            const bool last = stop;  // read before the queue is looked at
            const unsigned long taken = queue->GetNode(batch, 64);
            for (unsigned long i = 0; i < taken; ++i)
                recycler.FreeNode(batch[i]);
            if (taken == 0 && last) return;
        }
    });
    for (auto _ : state) {
        DataBuffer* record = recycler.CreateNode();
        queue->SetNode(&record, 1);
    }
    stop = true;
    consumer.join();
    state.SetItemsProcessed(state.iterations());
    queue->Release();
}
BENCHMARK(QueueHandOff)->UseRealTime();

}  // namespace
