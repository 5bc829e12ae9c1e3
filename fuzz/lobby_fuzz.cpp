// Every message handler of the lobby: any type and bytes, in any order, from clients and from
// each back-end server, with closes, clock steps and failing sends between them.
#include "FuzzWorld.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool prepared = (FuzzWorld::PrepareProcess(), true);
    static_cast<void>(prepared);
    FuzzWorld world;
    FuzzInput input(data, size);
    for (int step = 0; step < 64 && !input.Empty(); ++step)
        world.Step(input);
    world.Check();
    return 0;
}
