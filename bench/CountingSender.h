// A sender that only counts what it is given, for benchmarks.
#pragma once

#include <benchmark/benchmark.h>

#include <stdexcept>

#include "Game/NetGame.h"

// Thread: one.
struct CountingSender : INetSender {
    bool Initialize() override { return true; }
    bool SendData(IPlayerNode*, unsigned short, void* data, long, long) override {
        benchmark::DoNotOptimize(data);
        ++s_sent;
        return true;
    }
    bool SendData(IPlayerNode*, void*, long) override { return false; }
    void* AllocMassData(unsigned long, unsigned short, void*, long, long) override {
        return nullptr;
    }
    void* AllocMassData(unsigned long, void*, long) override { return nullptr; }
    bool SendMassData(IPlayerNode*, void*) override { return false; }
    void Close(IPlayerNode*) override { throw std::logic_error("the application closed a node"); }
    void OnClosed(IPlayerNode*) override {}
    static inline long s_sent = 0;  // messages
};
