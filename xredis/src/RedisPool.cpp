#include "RedisPool.h"

// The slices are there before their connections are: whoever asks meanwhile fails at once instead
// of waiting for a server that may be away. After the first that cannot be reached the others are
// left to the keep-alive, for they would only cost a time-out each.
bool RedisCache::ConnectNodes(const RedisNode* nodes, unsigned int count,
                              const std::atomic<bool>& cancelled, RedisConnectError& error) {
    SliceList slices;
    for (unsigned int i = 0; i < count; ++i) {
        slices.push_back(std::make_shared<RedisDBSlice>(mCachetype, i));
    }
    {
        const LockGuard lock(mLock);
        mDBList = slices;
        mHashbase = count;
    }
    bool connected = true;
    for (unsigned int i = 0; i < count; ++i) {
        const unsigned int dbindex = nodes[i].dbindex;
        connected = dbindex < count &&
                    slices[dbindex]->AddNode(nodes[i], connected, cancelled, &error) && connected;
    }
    return connected;
}

unsigned int RedisCache::HashBase() const {
    const LockGuard lock(mLock);
    return mHashbase;
}

std::shared_ptr<RedisDBSlice> RedisCache::GetSlice(unsigned int dbindex) const {
    const LockGuard lock(mLock);
    return dbindex < mHashbase ? mDBList[dbindex] : nullptr;
}

void RedisCache::Keepalive() {
    SliceList slices;
    {
        const LockGuard lock(mLock);
        slices = mDBList;
    }
    for (const auto& slice : slices)
        slice->Keepalive();
}

RedisPool::RedisPool(unsigned int typeSize) : mTypeSize(typeSize) {
    for (unsigned int type = 0; type < typeSize; ++type) {
        mRedisCacheList.push_back(std::make_unique<RedisCache>(type));
    }
}

RedisCache* RedisPool::GetCache(unsigned int type) const {
    return type < mTypeSize ? mRedisCacheList[type].get() : nullptr;
}

void RedisPool::Keepalive() {
    for (const auto& cache : mRedisCacheList)
        cache->Keepalive();
}
