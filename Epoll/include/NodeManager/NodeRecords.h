// The records that travel through the node pools. All are raw, recycled memory: whoever takes one
// fills every field but the link.
#pragma once

#include <cstdint>

#include "Game/NetMessage.h"
#include "NodeManager/NodeManager.h"

class EPOLLReceiver;

// In tagSendBuffer: each message in it stands behind the head of its frame.
inline constexpr uint8_t FRAMED_ALREADY = 0;

// One filled outgoing message, or several small ones to one receiver. Taken from g_SendFactory by
// the sender of the message, given back by whoever drops the last reference. May be shared by many
// connections.
struct tagSendBuffer {
    uint64_t ulReferenceCount;       // connections that still hold it; see DropReference
    uint64_t ulLength;               // bytes still to send; consumer only, once queued
    char szSendBuffer[SEND_BUFFER];  // the message, header first
    uint8_t ucFrame;                 // first byte of its frame, where the receiver takes frames;
                                     // or FRAMED_ALREADY
    uint16_t usMessages;             // in it, not written whole yet; guarded as its ring entry is
    tagSendBuffer* __p_next;
};

// One reactor event on its way from a poll thread to the message worker.
struct DataBuffer {
    EPOLLReceiver* lpContext;  // the connection; pooled, not owned
    void* buffer;              // a receive block owned by the record, or null
    int64_t lLength;           // 0 established, > 0 bytes read, -1 or -2 closed
    DataBuffer* __p_next;
};

// One request to re-open an outbound link.
struct HostList {
    void* lpcbParam;  // handed back to the caller
    int32_t iType;    // the caller's link kind
    HostList* __p_next;
};

// Recycler of every send buffer of the process.
inline NodeRecycle<tagSendBuffer> g_SendFactory{&g_SendBlocks};

// Gives up one reference; true with the last one: the caller then frees the buffer. Any thread.
inline bool WasLastReference(tagSendBuffer* buffer) {
    // The record is raw memory, so the count cannot be an atomic object of its own.
    const std::atomic_ref<uint64_t> references(buffer->ulReferenceCount);
    // The holder of the only reference has nobody to race with.
    return references.load(std::memory_order_acquire) == 1 || references.fetch_sub(1) == 1;
}

// Gives up one reference; the buffer goes back to g_SendFactory with the last one, so the caller
// must not touch it afterwards. Any thread.
inline void DropReference(tagSendBuffer* buffer) {
    if (WasLastReference(buffer)) g_SendFactory.FreeNode(buffer);
}
