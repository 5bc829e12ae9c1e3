// The caches of a client and the slices of each.
#pragma once

#include <memory>
#include <vector>

#include "Common/ThreadSafety.h"
#include "RedisDBSlice.h"

// The slices that the keys of one cache type are spread over. Owns them together with the
// requests under way, which keep theirs when the cache is connected anew. Thread: any.
class RedisCache {
  public:
    explicit RedisCache(unsigned int type) : mCachetype(type) {}
    virtual ~RedisCache() = default;

    // False at the first node that cannot be connected or has a dbindex beyond the count; the
    // nodes after it are left to Keepalive.
    bool ConnectNodes(const RedisNode* nodes, unsigned int count,
                      const std::atomic<bool>& cancelled, RedisConnectError& error);

    unsigned int HashBase() const;
    // Null beyond the slice count.
    std::shared_ptr<RedisDBSlice> GetSlice(unsigned int dbindex) const;
    void Keepalive();

  private:
    using SliceList = std::vector<std::shared_ptr<RedisDBSlice>>;

    const unsigned int mCachetype;
    mutable Mutex mLock;
    SliceList mDBList GUARDED_BY(mLock);
    unsigned int mHashbase GUARDED_BY(mLock) = 0;  // number of slices
};

// Owns the caches, whose number never changes. Thread: any.
class RedisPool {
  public:
    explicit RedisPool(unsigned int typeSize);

    // Null for an unknown type.
    RedisCache* GetCache(unsigned int type) const;
    void Keepalive();

  private:
    std::vector<std::unique_ptr<RedisCache>> mRedisCacheList;
    const unsigned int mTypeSize;
};
