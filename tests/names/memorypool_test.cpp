#include "names/memorypool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

TEST(MemoryPool, OnePoolPerNameWithItsCounters)
{
    MemoryPool& pool = MemoryPool::Get("TestPoolCounters");
    EXPECT_TRUE(&pool == &MemoryPool::Get("TestPoolCounters") &&
                &pool == MemoryPool::Find("TestPoolCounters"));
    EXPECT_EQ(MemoryPool::Find("TestPoolNeverMade"), nullptr);
    void* p1 = pool.Alloc(100);
    void* p2 = pool.Alloc(28);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p1) % alignof(std::max_align_t), 0u);
    std::memset(p1, 0xAB, 100);
    EXPECT_TRUE(pool.GetBytesInUse() == 128u && pool.GetLiveCount() == 2u);
    pool.Free(p1);
    EXPECT_EQ(pool.GetBytesInUse(), 28u);
    pool.Free(p2);
    pool.Free(nullptr);
    // Counts, then bytes: in use, least, most and the mean of the samples 100, 128, 28, 0.
    EXPECT_EQ(std::vector<uint64>({pool.GetAllocationCount(), pool.GetLiveCount(), pool.GetBytesInUse(),
                                   pool.GetMinUsed(), pool.GetMaxUsed(), pool.GetAvgUsed()}),
              std::vector<uint64>({2, 0, 0, 0, 128, 64}));
    char* pText = pool.StrDup("walker");
    EXPECT_TRUE(std::string(pText) == "walker" && pool.GetBytesInUse() == 7u && !pool.StrDup(nullptr));
    pool.Free(pText);
    const std::string report = MemoryPool::Report();
    EXPECT_TRUE(report.starts_with("Pool,Allocations,MemUsed,MinUsed,MaxUsed,AvgUsed\n") &&
                report.find("\nTestPoolCounters,3,0,0,128,") != std::string::npos)
        << report;
}

TEST(MemoryPool, AllocatorFeedsStandardContainers)
{
    MemoryPool& pool = MemoryPool::Get("TestPoolNodes");
    {
        using Alloc = PoolAllocator<std::pair<const int, int>>;
        std::multimap<int, int, std::less<int>, Alloc> map{Alloc(pool)};
        for (int i = 0; i < 50; ++i)
            map.emplace(i % 7, i);
        EXPECT_EQ(pool.GetLiveCount(), 50u) << "a node each";
        map.erase(3);
        EXPECT_LT(pool.GetLiveCount(), 50u);
    }
    EXPECT_TRUE(pool.GetLiveCount() == 0u && pool.GetBytesInUse() == 0u);
}
