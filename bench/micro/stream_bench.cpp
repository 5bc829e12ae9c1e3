// Cutting what was read into messages.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "StreamReassembly.h"

namespace {

class CountingSink final : public StreamSink {
  public:
    bool OnMessage(char* message, long length) override {
        benchmark::DoNotOptimize(message);
        bytes += length;
        return true;
    }
    void OnBadIdentity(const tagMsgHeader&) override { ++faults; }
    void OnBadLength(long) override { ++faults; }
    void OnIncomplete(long, long) override {}
    void OnTooMany() override { ++faults; }
    long bytes = 0;
    long faults = 0;
};

std::string Stream(size_t messages, size_t size) {
    tagMsgHeader header{MSG_IDENTITY, 0, htons(static_cast<uint16_t>(size)), MSG_VERSION, 0, 0};
    std::string one(size, 'm');
    std::memcpy(one.data(), &header, sizeof(header));
    std::string all;
    for (size_t i = 0; i < messages; ++i)
        all += one;
    return all;
}

// First range: bytes of a message; second: bytes of a read. Reads that do not end where messages
// do carry a part over.
void Reassembly(benchmark::State& state) {
    const auto size = static_cast<size_t>(state.range(0));
    const auto read = static_cast<size_t>(state.range(1));
    const std::string stream = Stream(read, size);  // a whole number of reads, too
    CountingSink sink;
    char held[BUFFER_SIZE];
    char block[BUFFER_SIZE];
    long heldLength = 0;
    size_t at = 0;
    for (auto _ : state) {
        std::memcpy(block, stream.data() + at, read);
        FeedStream(held, heldLength, block, static_cast<long>(read), sink);
        at = at + read == stream.size() ? 0 : at + read;
    }
    if (sink.faults > 0) state.SkipWithError("bad stream");
    state.SetItemsProcessed(sink.bytes / state.range(0));
    state.SetBytesProcessed(sink.bytes);
}
BENCHMARK(Reassembly)
    ->ArgNames({"message", "read"})
    ->Args({64, 64})
    ->Args({64, 2048})
    ->Args({64, 1000})
    ->Args({1024, 4096})
    ->Args({1024, 100});

}  // namespace
