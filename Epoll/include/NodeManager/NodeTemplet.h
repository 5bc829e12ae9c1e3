// The two interfaces of the node pools. Include NodeManager/NodeManager.h to use them: the
// bodies of CreateInstance need every implementation.
#pragma once

#include "NodeManager/osdef.h"

// T is a plain record whose last field is `T* __p_next`. The templates link nodes through it;
// the record's user leaves it alone while the node is pooled or queued.

// Hands out and takes back records of one type, so that no message costs a heap allocation.
// Thread: any.
template <class T>
class NodeFactory {
  public:
    // A new NodeRecycle, given back with Release.
    static NodeFactory* CreateInstance();
    void Release() { delete this; }

    // A record holding whatever its last user left in it (or raw memory), but for a null
    // __p_next. A failed allocation is thrown to the caller.
    virtual T* CreateNode() = 0;
    // Takes a record back; null is ignored.
    virtual void FreeNode(T* node) = 0;
    virtual ~NodeFactory() = default;
};

// A queue of record pointers between threads. It never owns the records: whoever destroys a
// queue empties it first. Thread: any.
template <class T>
class NodeManager {
  public:
    // kind 0: ring of `capacity` slots (NodeAllocate); 1: unbounded list (NodeDBLink, capacity
    // ignored); 2: two rings of `capacity` slots (NodeDBRound); any other kind: null.
    static NodeManager* CreateInstance(long kind, unsigned long capacity);
    void Release() { delete this; }

    // Appends `count` records in order. Returns how many are queued of them; 0 for a null array
    // or a count below 1.
    virtual unsigned long SetNode(T** nodes, long count) = 0;
    // Takes up to `count` records, oldest first, and returns how many. A null `out` only
    // reports how many are queued.
    virtual unsigned long GetNode(T** out, long count) = 0;
    virtual ~NodeManager() = default;
};
