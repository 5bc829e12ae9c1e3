// WebSocket frames: opening what came, and the head of what goes.
#include <benchmark/benchmark.h>

#include <string>

#include "WebSocketStream.h"

namespace {

std::string MaskedFrame(size_t payload) {
    std::string frame(1, '\x82');
    if (payload < 126) {
        frame.push_back(static_cast<char>(0x80 | payload));
    } else {
        frame.push_back(static_cast<char>(0x80 | 126));
        frame.push_back(static_cast<char>(payload >> 8));
        frame.push_back(static_cast<char>(payload));
    }
    frame += "\x11\x22\x33\x44";
    return frame + std::string(payload, 'x');
}

// First range: bytes of a payload; second: frames in one read.
void UnmaskFrames(benchmark::State& state) {
    std::string read;
    for (long i = 0; i < state.range(1); ++i)
        read += MaskedFrame(static_cast<size_t>(state.range(0)));
    Websocket_Request request;
    WebSocketStream stream(request);
    char carried[WEBSOCKET_BUFFER];
    long carriedLength = 0;
    long bytes = 0;
    for (auto _ : state) {
        stream.Receive(carried, carriedLength, read.data(), static_cast<long>(read.size()),
                       [&](char* payload, long length) {
                           benchmark::DoNotOptimize(payload);
                           bytes += length;
                           return true;
                       });
    }
    if (bytes != state.iterations() * state.range(0) * state.range(1)) {
        state.SkipWithError("payload lost");
    }
    state.SetItemsProcessed(state.iterations() * state.range(1));
    state.SetBytesProcessed(bytes);
}
BENCHMARK(UnmaskFrames)
    ->ArgNames({"payload", "frames"})
    ->Args({64, 1})
    ->Args({64, 8})
    ->Args({1024, 1})
    ->Args({4000, 1});

void BuildHead(benchmark::State& state) {
    uint8_t head[WEBSOCKET_MAX_HEAD];
    for (auto _ : state) {
        benchmark::DoNotOptimize(BuildWebSocketHead(static_cast<uint64_t>(state.range(0)), head));
        benchmark::DoNotOptimize(head);
    }
}
BENCHMARK(BuildHead)->Arg(64)->Arg(1024);

}  // namespace
