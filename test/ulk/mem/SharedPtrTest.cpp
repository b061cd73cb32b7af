#include "ulk/mem/SharedPtr.h"

#include "support/AllocFault.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>
#include <random>
#include <thread>
#include <vector>

using ulk::archi::Int32;
using ulk::mem::SharedPtr;

namespace {

// The two words of a pointer, as they stand in memory.
struct Words {
    void* obj;
    Int32* count;
    template <class T>
    explicit Words(SharedPtr<T> const& ptr) {
        static_assert(sizeof(ptr) == 2 * sizeof(void*));
        std::memcpy(static_cast<void*>(this), &ptr, sizeof(*this));
    }
    bool operator==(Words const&) const = default;
};

struct Obj {
    explicit Obj(int& c)
        : count(c) {
        ++count;
    }
    virtual ~Obj() { --count; }
    int& count;
    SharedPtr<Obj> next;
};

struct Derived : Obj {
    using Obj::Obj;
    ~Derived() override { count -= 100; }
};

} // namespace

TEST(SharedPtrTest, NullAllocatesNoCell) {
    test::AllocFault const fault;
    {
        SharedPtr<Obj> const a(nullptr);
        SharedPtr<Obj> const b(a);
        SharedPtr<Obj> const c;
        SharedPtr<Obj> d;
        d = b;
        d.destroy_complete();
        d.reset();
        EXPECT_EQ(nullptr, Words(a).count);
        EXPECT_EQ(nullptr, Words(b).count);
        EXPECT_EQ(Words(c), Words(d));
        EXPECT_FALSE(a);
    }
    EXPECT_EQ(0, fault.get_count());
}

TEST(SharedPtrTest, CopiesShareOneCell) {
    int alive = 0;
    {
        SharedPtr<Obj> a(new Obj(alive));
        Int32* const count = Words(a).count;
        EXPECT_EQ(1, *count);
        {
            test::AllocFault const fault;
            SharedPtr<Obj> const b(a);
            SharedPtr<Obj> c;
            c = b;
            EXPECT_EQ(3, *count);
            EXPECT_EQ(Words(a), Words(c));
            EXPECT_TRUE(a == c);
            EXPECT_EQ(0, fault.get_count());
        }
        EXPECT_EQ(1, *count);
        EXPECT_EQ(1, alive);
        EXPECT_EQ(&alive, &a->count);
        EXPECT_EQ(a.get(), &*a);
    }
    EXPECT_EQ(0, alive);
}

TEST(SharedPtrTest, AssigningTheSameObjectChangesNoCount) {
    int alive = 0;
    SharedPtr<Obj> a(new Obj(alive));
    SharedPtr<Obj> b(a);
    auto& self = a;
    a = self;
    EXPECT_EQ(2, *Words(a).count);
    a = b;
    EXPECT_EQ(2, *Words(a).count);
    EXPECT_EQ(1, alive);
}

TEST(SharedPtrTest, AssignmentLetsGoOfTheFormerObject) {
    int alive = 0;
    SharedPtr<Obj> a(new Obj(alive));
    SharedPtr<Obj> const b(new Obj(alive));
    a = b;
    EXPECT_EQ(1, alive);
    EXPECT_EQ(2, *Words(b).count);
    a = SharedPtr<Obj>();
    EXPECT_EQ(1, *Words(b).count);
    EXPECT_EQ(nullptr, Words(a).obj);
    EXPECT_EQ(nullptr, Words(a).count);
}

TEST(SharedPtrTest, AListIsWalkedByItsOwnHead) {
    int alive = 0;
    SharedPtr<Obj> head;
    for (int i = 0; i < 5; ++i) {
        SharedPtr<Obj> node(new Obj(alive));
        node->next = head;
        head = node;
    }
    for (int left = 5; left > 0; --left) {
        EXPECT_EQ(left, alive);
        EXPECT_EQ(1, *Words(head).count);
        head = head->next; // what is assigned lies in what goes
    }
    EXPECT_EQ(0, alive);
    EXPECT_FALSE(head);
}

TEST(SharedPtrTest, DestroyCompleteKeepsTheWordsWhileCopiesLive) {
    int alive = 0;
    SharedPtr<Obj> b(new Obj(alive));
    auto const holder = std::make_unique<SharedPtr<Obj>[]>(1);
    holder[0] = b;
    Words const before(holder[0]);
    holder[0].destroy_complete();
    EXPECT_EQ(before, Words(holder[0]));
    EXPECT_EQ(1, *Words(b).count);
    EXPECT_EQ(1, alive);
    new (&holder[0]) SharedPtr<Obj>(); // the count was given back, the words are overwritten
    b.destroy_complete();
    EXPECT_EQ(0, alive);
    EXPECT_EQ(nullptr, Words(b).obj);
    EXPECT_EQ(nullptr, Words(b).count);
    b.destroy_complete(); // empty: nothing
}

TEST(SharedPtrTest, ResetIsEmptyAlsoWhileCopiesLive) {
    int alive = 0;
    SharedPtr<Obj> a(new Obj(alive));
    SharedPtr<Obj> b(a);
    a.reset();
    EXPECT_EQ(nullptr, Words(a).obj);
    EXPECT_EQ(nullptr, Words(a).count);
    EXPECT_EQ(1, *Words(b).count);
    b.reset();
    EXPECT_EQ(0, alive);
}

TEST(SharedPtrTest, UsesTheVirtualDestructor) {
    int count = 0;
    {
        SharedPtr<Derived> const derived(new Derived(count));
        SharedPtr<Obj> const base(derived);
        EXPECT_EQ(2, *Words(base).count);
    }
    EXPECT_EQ(-100, count);
}

TEST(SharedPtrTest, AFailedCellLeavesTheObjectToTheCaller) {
    int alive = 0;
    auto obj = std::make_unique<Obj>(alive);
    {
        test::AllocFault const fault(0);
        EXPECT_THROW(SharedPtr<Obj>(obj.get()), std::bad_alloc);
    }
    EXPECT_EQ(1, alive);
}

TEST(SharedPtrTest, CountsLikeAModel) {
    std::mt19937 rnd(20);
    int alive = 0;
    std::vector<SharedPtr<Obj>> ptr_arr(8);
    std::vector<int> model(8, -1); // number of the object, -1 for none
    int next_obj = 0;
    for (int step = 0; step < 20000; ++step) {
        std::size_t const dst = rnd() % 8;
        std::size_t const src = rnd() % 8;
        switch (rnd() % 4) {
        case 0:
            ptr_arr[dst] = SharedPtr<Obj>(new Obj(alive));
            model[dst] = next_obj++;
            break;
        case 1:
            ptr_arr[dst].reset();
            model[dst] = -1;
            break;
        default:
            ptr_arr[dst] = ptr_arr[src];
            model[dst] = model[src];
            break;
        }
        int distinct = 0;
        for (std::size_t i = 0; i < 8; ++i) {
            auto const same = std::count(model.begin(), model.end(), model[i]);
            ASSERT_EQ(model[i] >= 0, static_cast<bool>(ptr_arr[i]));
            ASSERT_TRUE(model[i] < 0 || *Words(ptr_arr[i]).count == same);
            auto const pos = model.begin() + static_cast<std::ptrdiff_t>(i);
            distinct += model[i] >= 0 && std::find(model.begin(), pos, model[i]) == pos ? 1 : 0;
        }
        ASSERT_EQ(distinct, alive);
    }
}

TEST(SharedPtrTest, CopiesAreMadeAndReleasedByThreads) {
    int alive = 0;
    {
        SharedPtr<Obj> const root(new Obj(alive));
        auto const run = [root] { // a copy of its own for each thread
            for (int i = 0; i < 20000; ++i) {
                SharedPtr<Obj> a(root);
                SharedPtr<Obj> const b(a);
                a.reset();
            }
        };
        std::thread t1(run);
        std::thread t2(run);
        t1.join();
        t2.join();
        EXPECT_EQ(2, *Words(root).count); // root and the lambda's
    }
    EXPECT_EQ(0, alive);
}

TEST(SharedPtrTest, TheLastThreadDestroysOnce) {
    for (int round = 0; round < 300; ++round) {
        int alive = 0;
        auto root = std::make_unique<SharedPtr<Obj>>(new Obj(alive));
        SharedPtr<Obj> copy(*root);
        std::thread other([c = std::move(root)]() mutable { c.reset(); });
        copy.reset();
        other.join();
        ASSERT_EQ(0, alive);
    }
}

TEST(SharedPtrTest, MakeLeavesNothingOverWhenItThrows) {
    int alive = 0;
    {
        auto const ptr = SharedPtr<Obj>::make(alive);
        EXPECT_EQ(1, alive);
        EXPECT_EQ(1, *Words(ptr).count);
    }
    EXPECT_EQ(0, alive);
    for (long fail_at = 0; fail_at < 2; ++fail_at) { // the object, the cell of the count
        test::AllocFault fault(fail_at);
        EXPECT_THROW(SharedPtr<Obj>::make(alive), std::bad_alloc);
        EXPECT_EQ(0, alive);
    }
}
