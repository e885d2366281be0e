// LCN memory look-ups.
#include <gtest/gtest.h>

#include <syslog.h>

#include <memory>

#include <tavel/lcn_memory.h>

#include "platform/log.h"

namespace tavel {
namespace {

TEST(LcnMemory, EmptyMemoryFindsNothing)
{
    LCNMemVector mem;
    unsigned short n = 7;
    EXPECT_FALSE(mem.buscaPorLCN(5, n));
    EXPECT_EQ(n, 0);
    EXPECT_FALSE(mem.buscaPorLCNySID(5, 10));
    EXPECT_FALSE(mem.buscaPorTSIDONIDSID(1, 2, 3));
}

TEST(LcnMemory, ConstructorsKeepFieldOrder)
{
    LCNMem zero;
    EXPECT_EQ(zero.tsid + zero.onid + zero.sid + zero.lcn, 0);
    LCNMem e(1, 2, 3, 4);
    EXPECT_EQ(e.tsid, 1);
    EXPECT_EQ(e.onid, 2);
    EXPECT_EQ(e.sid, 3);
    EXPECT_EQ(e.lcn, 4);
}

TEST(LcnMemory, SharedNumberReturnsTheLastHolderAndCountsThemAll)
{
    LCNMemVector mem;
    auto first = std::make_shared<LCNMem>(1, 1, 10, 5);
    auto other = std::make_shared<LCNMem>(1, 1, 15, 6);
    auto second = std::make_shared<LCNMem>(2, 1, 20, 5);
    mem.assign({first, other, second});

    unsigned short n = 0;
    EXPECT_EQ(mem.buscaPorLCN(5, n), second);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(mem.buscaPorLCN(6, n), other);
    EXPECT_EQ(n, 1);
    EXPECT_FALSE(mem.buscaPorLCN(7, n));
    EXPECT_EQ(n, 0);

    EXPECT_EQ(mem.buscaPorLCNySID(5, 10), first);
    EXPECT_EQ(mem.buscaPorLCNySID(5, 20), second);
    EXPECT_FALSE(mem.buscaPorLCNySID(6, 10));
}

TEST(LcnMemory, TsidOnidSidLookupLogsEachEntryUpToTheMatch)
{
    LCNMemVector mem;
    mem.assign({std::make_shared<LCNMem>(1, 9, 10, 5), std::make_shared<LCNMem>(2, 9, 20, 6),
                 std::make_shared<LCNMem>(2, 9, 20, 7), std::make_shared<LCNMem>(3, 9, 30, 8)});
    LogCapture log;
    auto found = mem.buscaPorTSIDONIDSID(2, 9, 20);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->lcn, 6); // the first match
    EXPECT_EQ(log.count(LOG_DEBUG), 2u);
    // The entry's LCN stands in the SID slot.
    EXPECT_TRUE(log.has(LOG_DEBUG, "TSID 1 = 2 ONID 9 = 9 SID 5 = 20"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "TSID 2 = 2 ONID 9 = 9 SID 6 = 20"));

    log.clear();
    EXPECT_FALSE(mem.buscaPorTSIDONIDSID(2, 9, 99));
    EXPECT_EQ(log.count(LOG_DEBUG), 4u);
}

} // namespace
} // namespace tavel
