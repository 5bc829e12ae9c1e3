// The node pools: recyclers and hand-off queues, all of them, and the queues' creation by kind.
#pragma once

#include "NodeManager/NodeAllocate.h"
#include "NodeManager/NodeDBLink.h"
#include "NodeManager/NodeDBRound.h"
#include "NodeManager/NodeRecycle.h"
#include "NodeManager/NodeTemplet.h"

// Kinds of NodeManager::CreateInstance. The framework itself uses the list only.
inline constexpr long NODE_RING = 0;
inline constexpr long NODE_LINK = 1;
inline constexpr long NODE_ROUND = 2;

template <class T>
NodeManager<T>* NodeManager<T>::CreateInstance(long kind, unsigned long capacity) {
    switch (kind) {
        case NODE_RING:
            return new NodeAllocate<T>(capacity);
        case NODE_LINK:
            return new NodeDBLink<T>();
        case NODE_ROUND:
            return new NodeDBRound<T>(capacity);
        default:
            return nullptr;
    }
}
