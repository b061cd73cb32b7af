#include "ulk/util/SingletonBase.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

using ulk::util::SingletonBase;

namespace {

class Plain : public SingletonBase<Plain> {
public:
    static inline std::atomic<int> nbr_built{0};
    int value = 0;

private:
    friend class SingletonBase<Plain>;
    Plain() {
        ++nbr_built;
        std::this_thread::yield();
        value = 42; // seen whole by every thread
    }
};

class Reluctant : public SingletonBase<Reluctant> {
public:
    static inline int nbr_tries = 0;

private:
    friend class SingletonBase<Reluctant>;
    Reluctant() {
        if (++nbr_tries < 3) {
            throw std::runtime_error("not yet");
        }
    }
};

} // namespace

TEST(SingletonBaseTest, IsBuiltOnceForAllThreads) {
    std::atomic<bool> go_flag{false};
    std::vector<Plain*> got(4);
    std::vector<std::thread> pool;
    for (auto& ptr : got) {
        pool.emplace_back([&] {
            while (!go_flag) {
            }
            ptr = &Plain::use_instance();
            EXPECT_EQ(42, ptr->value);
        });
    }
    go_flag = true;
    for (auto& thread : pool) {
        thread.join();
    }
    EXPECT_EQ(1, Plain::nbr_built);
    for (Plain* const ptr : got) {
        EXPECT_EQ(&Plain::use_instance(), ptr);
    }
}

TEST(SingletonBaseTest, AFailedConstructionIsTriedAgain) {
    EXPECT_THROW(Reluctant::use_instance(), std::runtime_error);
    EXPECT_THROW(Reluctant::use_instance(), std::runtime_error);
    Reluctant& obj = Reluctant::use_instance();
    EXPECT_EQ(&obj, &Reluctant::use_instance());
    EXPECT_EQ(3, Reluctant::nbr_tries);
}
