#include "DescDoc.h"

#include "support/AllocFault.h"
#include "ulk/ace/Err.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using namespace ulk;
using test::Bytes;
using test::ByteWriter;
using test::DescDoc;

namespace {

// Reads data, whatever it is: a known code, and no more memory than it can pay for.
int read_bounded(Bytes const& data) {
    // The log builds its ring at its first line.
    static int const log_ready = DescDoc().from_bin(Bytes());
    EXPECT_NE(0, log_ready);
    DescDoc doc;
    int ret = 0;
    long nbr_bytes = 0;
    {
        test::AllocFault count;
        ret = doc.from_bin(data);
        nbr_bytes = count.get_nbr_bytes();
    }
    EXPECT_TRUE(ret == 0 || ret == ace::Err_DATA_CORRUPTED) << ret;
    EXPECT_LE(nbr_bytes, 2048 + 64 * static_cast<long>(data.size()));
    return ret;
}

// The places of the four bytes of the size, so that a cut document tells its own length.
Bytes with_size(Bytes data) {
    Bytes const size = ByteWriter().u32(static_cast<unsigned int>(data.size())).bytes;
    std::copy(size.begin(), size.end(), data.begin());
    return data;
}

Bytes make_doc(unsigned int seed) {
    std::mt19937 rng(seed);
    DescDoc doc;
    test::fill_random(doc, rng);
    return doc.to_bin();
}

} // namespace

TEST(DescBadInputTest, Truncations) {
    for (unsigned int seed = 0; seed < 10; ++seed) {
        Bytes const data = make_doc(seed);
        ASSERT_EQ(0, read_bounded(data));
        for (std::size_t len = 0; len < data.size(); ++len) {
            Bytes cut(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(len));
            EXPECT_EQ(ace::Err_DATA_CORRUPTED, read_bounded(cut));
            if (len >= 4) { // the plug-in list stands last, and its loss is told
                EXPECT_EQ(ace::Err_DATA_CORRUPTED, read_bounded(with_size(cut)));
            }
        }
    }
}

TEST(DescBadInputTest, AlteredBytes) {
    std::mt19937 rng(77);
    for (unsigned int seed = 0; seed < 10; ++seed) {
        Bytes data = make_doc(seed);
        for (auto& byte : data) {
            auto const saved = byte;
            for (unsigned long alt : {0x00ul, 0x01ul, 0x7Ful, 0x80ul, 0xFFul, saved ^ 1ul, rng()}) {
                byte = static_cast<unsigned char>(alt);
                read_bounded(data);
            }
            byte = saved;
        }
    }
}

TEST(DescBadInputTest, HugeCountsReserveNothing) {
    for (unsigned int count : {1u, 1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        ByteWriter const field = ByteWriter().u32(count);
        EXPECT_NE(0, read_bounded(ByteWriter::doc({ByteWriter().part("prop", field)})));
        EXPECT_NE(0, read_bounded(ByteWriter::doc({ByteWriter().part("unid", field)})));
        EXPECT_NE(0, read_bounded(ByteWriter::doc({ByteWriter().part("pils", field)})));
        ByteWriter const pals = ByteWriter().u32(1).u32(0).u32(count);
        EXPECT_NE(0, read_bounded(ByteWriter::doc({ByteWriter().part("pals", pals)})));
        ByteWriter const links = ByteWriter().u32(1).str("id").u32(0).u32(count);
        EXPECT_NE(0, read_bounded(ByteWriter::doc({ByteWriter().part("pils", links)})));
        // Configurations hide their damage.
        ByteWriter const pcls = ByteWriter().u32(0).u32(count);
        EXPECT_EQ(0, read_bounded(ByteWriter::doc({ByteWriter().part("pcls", pcls)})));
        ByteWriter const chn = ByteWriter().u32(0).u32(1).u32(count);
        EXPECT_EQ(0, read_bounded(ByteWriter::doc({ByteWriter().part("pcls", chn)})));
        ByteWriter nbr_parts;
        nbr_parts.u32(12).raw("desc").u32(count);
        EXPECT_NE(0, read_bounded(nbr_parts.bytes));
    }
}

TEST(DescBadInputTest, Noise) {
    std::mt19937 rng(3);
    for (int round = 0; round < 20000; ++round) {
        Bytes data(12 + rng() % 200);
        for (auto& byte : data) {
            byte = static_cast<unsigned char>(rng() % 4 != 0 ? 0 : rng() % 256);
        }
        Bytes const head = ByteWriter().u32(0).raw("desc").u32(5).bytes;
        std::copy(head.begin(), head.end(), data.begin());
        static char const* const atom_arr[] = {"prop", "unid", "pals", "pcls", "pils"};
        if (data.size() > 24) {
            Bytes const part = ByteWriter().u32(20).raw(atom_arr[rng() % 5]).bytes;
            std::copy(part.begin(), part.end(), data.begin() + 12);
        }
        read_bounded(with_size(data));
    }
}
