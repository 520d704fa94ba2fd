#include "names/memorypool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>

TEST(MemoryPool, OnePoolPerNameWithItsCounters)
{
    MemoryPool& pool = MemoryPool::Get("TestPoolCounters");
    EXPECT_EQ(&pool, &MemoryPool::Get("TestPoolCounters"));
    EXPECT_EQ(&pool, MemoryPool::Find("TestPoolCounters"));
    EXPECT_EQ(MemoryPool::Find("TestPoolNeverMade"), nullptr);
    EXPECT_STREQ(pool.GetName(), "TestPoolCounters");

    void* p1 = pool.Alloc(100);
    void* p2 = pool.Alloc(28);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p1) % alignof(std::max_align_t), 0u);
    std::memset(p1, 0xAB, 100);
    EXPECT_EQ(pool.GetBytesInUse(), 128u);
    EXPECT_EQ(pool.GetLiveCount(), 2u);
    pool.Free(p1);
    EXPECT_EQ(pool.GetBytesInUse(), 28u);
    pool.Free(p2);
    pool.Free(nullptr);
    EXPECT_EQ(pool.GetAllocationCount(), 2u);
    EXPECT_EQ(pool.GetLiveCount(), 0u);
    EXPECT_EQ(pool.GetBytesInUse(), 0u);
    EXPECT_EQ(pool.GetMaxUsed(), 128u);
    EXPECT_EQ(pool.GetMinUsed(), 0u);
    // Samples: 100, 128, 28, 0.
    EXPECT_EQ(pool.GetAvgUsed(), 64u);

    char* pText = pool.StrDup("walker");
    EXPECT_STREQ(pText, "walker");
    EXPECT_EQ(pool.GetBytesInUse(), 7u);
    pool.Free(pText);
    EXPECT_EQ(pool.StrDup(nullptr), nullptr);

    const std::string report = MemoryPool::Report();
    EXPECT_EQ(report.rfind("Pool,Allocations,MemUsed,MinUsed,MaxUsed,AvgUsed\n", 0), 0u);
    EXPECT_NE(report.find("\nTestPoolCounters,3,0,0,128,"), std::string::npos) << report;
}

TEST(MemoryPool, AllocatorFeedsStandardContainers)
{
    MemoryPool& pool = MemoryPool::Get("TestPoolNodes");
    {
        using Alloc = PoolAllocator<std::pair<const int, int>>;
        std::multimap<int, int, std::less<int>, Alloc> map{Alloc(pool)};
        for (int i = 0; i < 50; ++i)
            map.emplace(i % 7, i);
        EXPECT_EQ(pool.GetLiveCount(), 50u);
        map.erase(3);
        EXPECT_LT(pool.GetLiveCount(), 50u);
    }
    EXPECT_EQ(pool.GetLiveCount(), 0u);
    EXPECT_EQ(pool.GetBytesInUse(), 0u);
}
