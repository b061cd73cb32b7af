#include "ulk/util/TraceTools.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using ulk::util::TraceTools;

namespace {

constexpr char guard = '\x7F';

// The buffer of `size` after a dump, with what it held before; checks that nothing else changed.
template <class FNC>
std::string dump(FNC fnc, long size, std::string const& src, char held = '_') {
    std::vector<char> buf(static_cast<std::size_t>(size) + 16, guard);
    std::fill_n(buf.begin() + 8, size, held);
    fnc(buf.data() + 8, size, src.data(), static_cast<long>(src.size()));
    EXPECT_EQ(std::string(8, guard), std::string(buf.begin(), buf.begin() + 8)) << size;
    EXPECT_EQ(std::string(8, guard), std::string(buf.end() - 8, buf.end())) << size;
    return std::string(buf.data() + 8); // up to its terminator
}

} // namespace

TEST(TraceToolsTest, TruncateMarksTheEnd) {
    char buf[] = "abcdefghijklm";
    TraceTools::truncate_string(buf, 10);
    EXPECT_STREQ("abcdef...", buf);
    EXPECT_EQ('k', buf[10]);
    char small[] = "abcd";
    TraceTools::truncate_string(small, 4);
    EXPECT_STREQ("...", small);
}

TEST(TraceToolsTest, HexSkipsTheSeparators) {
    auto const hex = TraceTools::dump_mem_as_hex;
    EXPECT_EQ("", dump(hex, 20, ""));
    EXPECT_EQ("AF_", dump(hex, 20, "\xAF"));
    EXPECT_EQ("AF_09_", dump(hex, 20, "\xAF\x09"));
    EXPECT_EQ("AF 09 ", dump(hex, 20, "\xAF\x09", ' '));
    EXPECT_EQ("AF", dump(hex, 20, "\xAF\x09", '\0')); // the separator held a terminator
    EXPECT_EQ("41_42_43_", dump(hex, 10, "ABC"));     // fits to the last place
    EXPECT_EQ("41_42_43", dump(hex, 9, "ABC"));
    EXPECT_EQ("41_42_4", dump(hex, 8, "ABC")); // the low digit has no place, no byte is left
    EXPECT_EQ("41_...", dump(hex, 7, "ABC"));
    EXPECT_EQ("41...", dump(hex, 6, "ABC"));
    EXPECT_EQ("...", dump(hex, 4, "ABC"));
}

TEST(TraceToolsTest, FilteredStringShowsWhatIsPrintable) {
    auto const txt = TraceTools::dump_mem_as_filtered_string;
    EXPECT_EQ("", dump(txt, 10, ""));
    EXPECT_EQ("a~b~c~", dump(txt, 10, std::string("a\0b\nc\x80", 6)));
    EXPECT_EQ("abcdefghi", dump(txt, 10, "abcdefghi"));
    EXPECT_EQ("abcdef...", dump(txt, 10, "abcdefghij"));
}

TEST(TraceToolsTest, NothingIsStoredOutsideOfAnyBuffer) {
    for (long size = 1; size < 40; ++size) {
        for (std::size_t len = 0; len < 20; ++len) {
            std::string const src(len, 'x');
            EXPECT_LT(dump(TraceTools::dump_mem_as_hex, size, src).size(),
                      static_cast<std::size_t>(size));
            EXPECT_LT(dump(TraceTools::dump_mem_as_filtered_string, size, src).size(),
                      static_cast<std::size_t>(size));
        }
    }
    char none = guard;
    TraceTools::dump_mem_as_hex(&none, 0, "abc", 3);
    TraceTools::dump_mem_as_filtered_string(&none, 0, "abc", 3);
    EXPECT_EQ(guard, none);
}
