#include "ulk/conc/BufferizedObj.h"

#include "support/AllocFault.h"

#include <gtest/gtest.h>

#include <map>

using namespace ulk;

namespace {

using MapObj = conc::BufferizedObj<std::map<int, int>>;

} // namespace

TEST(BufferizedObjTest, GoesThroughItsStates) {
    MapObj obj;
    EXPECT_TRUE(obj.use_cur().empty());
    EXPECT_FALSE(obj.has_transaction_started());
    EXPECT_FALSE(obj.has_been_committed());
    obj.rollback();
    obj.clean();
    obj.commit_fast(); // none of these has anything to do
    EXPECT_FALSE(obj.has_been_committed());

    obj.start_transaction();
    EXPECT_TRUE(obj.has_transaction_started());
    obj.use_work()[1] = 10;
    auto const* const work_ptr = &obj.use_work();
    obj.start_transaction(); // the same goes on
    EXPECT_EQ(work_ptr, &obj.use_work());
    EXPECT_EQ(10, obj.use_work().at(1));
    EXPECT_TRUE(obj.use_cur().empty());

    auto const* const old_ptr = &obj.use_cur();
    obj.commit_fast();
    EXPECT_EQ(work_ptr, &obj.use_cur());
    EXPECT_FALSE(obj.has_transaction_started());
    EXPECT_TRUE(obj.has_been_committed());
    EXPECT_TRUE(old_ptr->empty()); // still there to be read
    EXPECT_EQ(old_ptr->end(), old_ptr->find(1));
    obj.clean();
    EXPECT_FALSE(obj.has_been_committed());
    EXPECT_EQ(10, obj.use_cur().at(1));
}

TEST(BufferizedObjTest, ARollbackForgetsTheChanges) {
    MapObj obj;
    obj.start_transaction();
    obj.use_work()[1] = 10;
    obj.rollback();
    EXPECT_FALSE(obj.has_transaction_started());
    EXPECT_FALSE(obj.has_been_committed());
    EXPECT_TRUE(obj.use_cur().empty());
    obj.start_transaction();
    EXPECT_TRUE(obj.use_work().empty());
}

TEST(BufferizedObjTest, ANewTransactionCleansUpAfterACommit) {
    MapObj obj;
    obj.start_transaction();
    obj.use_work()[1] = 10;
    obj.commit_fast();
    EXPECT_TRUE(obj.has_been_committed());
    obj.start_transaction();
    EXPECT_FALSE(obj.has_been_committed());
    EXPECT_EQ(10, obj.use_work().at(1)); // a copy of what is published
    mem::TransactionInterface& transaction = obj;
    EXPECT_TRUE(transaction.has_transaction_started());
    transaction.commit_fast();
    EXPECT_TRUE(transaction.has_been_committed());
    transaction.clean();
}

TEST(BufferizedObjTest, CommittingFreesNothingAndAllocatesNothing) {
    MapObj obj;
    obj.start_transaction();
    obj.use_work()[1] = 10;
    test::AllocFault const fault;
    obj.commit_fast();
    EXPECT_EQ(0, fault.get_count());
}
