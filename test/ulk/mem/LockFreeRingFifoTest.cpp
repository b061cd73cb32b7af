#include "ulk/mem/LockFreeRingFifo.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <stdexcept>
#include <thread>

using ulk::mem::LockFreeRingFifo;

TEST(LockFreeRingFifoTest, BlocksEndAtTheWrap) {
    LockFreeRingFifo<int> ring(4);
    long len = -1;
    int* const base = ring.use_data_block_write(len);
    EXPECT_EQ(3, len);
    EXPECT_TRUE(ring.is_empty());
    ring.use_data_block_read(len);
    EXPECT_EQ(0, len);
    for (int i = 0; i < 3; ++i) {
        *ring.use_data_block_write(len) = i;
        EXPECT_EQ(3 - i, len);
        ring.advance_write();
    }
    EXPECT_TRUE(ring.is_full());
    ring.use_data_block_write(len);
    EXPECT_EQ(0, len);
    ring.advance_write(); // nothing: full
    EXPECT_EQ(base, ring.use_data_block_read(len));
    EXPECT_EQ(3, len);
    ring.advance_read();
    ring.advance_read();
    EXPECT_EQ(base + 3, ring.use_data_block_write(len));
    EXPECT_EQ(1, len); // two are free, one before the wrap
    ring.advance_write();
    EXPECT_EQ(base, ring.use_data_block_write(len));
    EXPECT_EQ(1, len);
    ring.advance_write();
    EXPECT_TRUE(ring.is_full());
    EXPECT_EQ(base + 2, ring.use_data_block_read(len));
    EXPECT_EQ(2, len);
}

TEST(LockFreeRingFifoTest, OddSizes) {
    EXPECT_THROW(LockFreeRingFifo<int>(0), std::invalid_argument);
    EXPECT_THROW(LockFreeRingFifo<int>(-3), std::invalid_argument);
    LockFreeRingFifo<int> ring(1); // holds nothing
    long len = -1;
    ring.use_data_block_write(len);
    EXPECT_EQ(0, len);
    ring.advance_write();
    ring.advance_read();
    EXPECT_TRUE(ring.is_full());
    EXPECT_TRUE(ring.is_empty());
}

TEST(LockFreeRingFifoTest, AllElementsAreBuiltAtOnce) {
    struct Counter {
        Counter() { ++alive(); }
        ~Counter() { --alive(); }
        static int& alive() {
            static int nbr = 0;
            return nbr;
        }
    };
    {
        LockFreeRingFifo<Counter> const ring(64);
        EXPECT_EQ(64, Counter::alive());
    }
    EXPECT_EQ(0, Counter::alive());
}

TEST(LockFreeRingFifoTest, BehavesAsAQueue) {
    std::mt19937 rnd(3);
    for (long size : {2L, 3L, 7L, 64L}) {
        LockFreeRingFifo<unsigned> ring(size);
        std::deque<unsigned> model;
        for (int step = 0; step < 20000; ++step) {
            long len = 0;
            if (rnd() % 2 == 0) {
                unsigned* const slot = ring.use_data_block_write(len);
                ASSERT_EQ(static_cast<long>(model.size()) < size - 1, len > 0);
                if (len > 0) {
                    *slot = static_cast<unsigned>(step);
                    model.push_back(*slot);
                }
                ring.advance_write();
            } else {
                unsigned const* const slot = ring.use_data_block_read(len);
                ASSERT_EQ(!model.empty(), len > 0);
                ASSERT_LE(len, static_cast<long>(model.size()));
                for (long i = 0; i < len; ++i) {
                    ASSERT_EQ(model[static_cast<std::size_t>(i)], slot[i]);
                }
                if (len > 0) {
                    model.pop_front();
                }
                ring.advance_read();
            }
        }
    }
}

TEST(LockFreeRingFifoTest, CarriesFromThreadToThread) {
    struct Elt {
        long order = -1;
        long copy = -1;
    };
    constexpr long nbr = 100000;
    LockFreeRingFifo<Elt> ring(16);
    std::thread writer([&] {
        for (long i = 0; i < nbr;) {
            long len = 0;
            Elt* const slot = ring.use_data_block_write(len);
            if (len > 0) {
                *slot = {i, i};
                ring.advance_write();
                ++i;
            } else {
                std::this_thread::yield();
            }
        }
    });
    long nbr_wrong = 0;
    for (long i = 0; i < nbr;) {
        long len = 0;
        Elt* const slot = ring.use_data_block_read(len);
        if (len > 0) {
            nbr_wrong += slot->order != i || slot->copy != i ? 1 : 0;
            ring.advance_read();
            ++i;
        } else {
            std::this_thread::yield();
        }
    }
    writer.join();
    EXPECT_EQ(0, nbr_wrong);
    EXPECT_TRUE(ring.is_empty());
}
