// The lines in the log, to the letter: people and scripts look for them.

#include "support/FileFault.h"
#include "support/LogCatcher.h"
#include "ulk/sacc/WavTools.h"

#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sacc/SplFileFmtFactoryInterface.h"
#include "ulk/sacc/SplFileFmtFactoryWav.h"
#include "ulk/sacc/SplFileFmtMgr.h"
#include "ulk/sacc/SplFileFmtTools.h"
#include "ulk/sacc/SplFileMgrImpl.h"
#include "ulk/sacc/SplFileUnique.h"
#include "ulk/sys/File.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <stdexcept>

using namespace ulk;
using namespace ulk::sacc;
using test::Bytes;
using test::Floats;
using Lines = std::vector<std::string>;

namespace {

class SplFileLogTest : public ::testing::Test {
protected:
    std::string save(Bytes const& content, std::string const& name = "x.wav") {
        auto const path = _files.make_name(name);
        test::save_bytes(path, content);
        return path;
    }
    std::string save_good() {
        return save(test::make_riff(
            {test::make_fmt(1, 2, 44100, 4, 16), test::make_chunk("data", Bytes(40))}));
    }
    // What opening a file with that content logs.
    Lines open(Bytes const& content) {
        auto const path = save(content);
        SplFileHnd hnd;
        _log.take();
        EXPECT_NE(0, hnd.open(_files.mgr, path.c_str(), false));
        return _log.take();
    }
    Lines open_fmt(int category, int chn, unsigned long freq, int align, int bits) {
        return open(test::make_riff({test::make_fmt(category, chn, freq, align, bits),
                                     test::make_chunk("data", Bytes(40))}));
    }
    static std::string get_address(void const* ptr) {
        char txt[32];
        std::snprintf(txt, sizeof(txt), "0x%llX",
                      static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(ptr)));
        return txt;
    }

    test::SplFiles _files;
    test::LogCatcher _log;
};

class ThrowingFactory : public SplFileFmtFactoryInterface {
protected:
    int do_detect_format(sys::File&, int&, archi::UByte const*) override {
        throw std::runtime_error("no");
    }
    int do_create_format(mem::SharedPtr<SplFileFmtInterface>&) override {
        throw std::runtime_error("no");
    }
};

} // namespace

TEST_F(SplFileLogTest, Format) {
    std::string const intro = "E do_read_format_info(): ";
    EXPECT_EQ(Lines{intro + "Cannot find fmt chunk."}, open(test::make_riff({})));
    EXPECT_EQ(Lines{intro + "Cannot find data chunk."},
              open(test::make_riff({test::make_fmt(1, 1, 8000, 2, 16)})));
    EXPECT_EQ(Lines{intro + "Format category not supported (0xFFFE)."},
              open_fmt(65534, 2, 44100, 4, 16));
    EXPECT_EQ(Lines{intro + "Format category not supported (0x0002)."},
              open_fmt(2, 2, 44100, 4, 16));
    EXPECT_EQ(Lines{intro + "Bit depth not supported (64 bits)."}, open_fmt(3, 1, 44100, 8, 64));
    EXPECT_EQ(Lines{intro + "Sample rate out of reasonable range (99)."},
              open_fmt(1, 1, 99, 2, 16));
    EXPECT_EQ(Lines{intro + "Number of channels out of reasonable range (256)."},
              open_fmt(1, 256, 44100, 512, 16));
    EXPECT_EQ(Lines{intro + "Inconsistent bit depth (nBlockAlign = 3, wBitsPerSample = 16)."},
              open_fmt(1, 2, 44100, 3, 16));
    EXPECT_EQ(
        Lines{intro + "Inconsistent block alignment (nBlockAlign = 17, wBitsPerSample = 16)."},
        open_fmt(1, 2, 44100, 17, 16));
    auto cut =
        test::make_riff({test::make_fmt(1, 2, 44100, 4, 16), test::make_chunk("data", Bytes(40))});
    cut.resize(60);
    EXPECT_EQ(Lines{intro + "File looks truncated (actual length: 60, minimum expected: 84)."},
              open(cut));
    EXPECT_EQ(Lines{"E find_chunk(): Chunk too short."},
              open(test::make_riff({test::make_chunk("fmt ", Bytes(14))})));
    auto endless =
        test::make_riff({test::make_chunk("junk", {}), test::make_fmt(1, 2, 44100, 4, 16)});
    std::fill_n(endless.begin() + 16, 4, static_cast<unsigned char>(0xFF));
    EXPECT_EQ(Lines{"E find_chunk(): unexpected chunk size."}, open(endless));
    endless[16] = 0xF8;
    EXPECT_EQ(Lines{"E find_chunk(): unexpected chunk size."}, open(endless));
}

TEST_F(SplFileLogTest, Detection) {
    auto const lines = open({0x52, 0x49, 0xA0});
    ASSERT_EQ(1U, lines.size());
    std::string const intro = "E detect_format(): format is unknown: ";
    EXPECT_EQ(intro + "52 49 A0 00", lines[0].substr(0, intro.size() + 11));
    EXPECT_EQ(intro.size() + 128, lines[0].size());
    EXPECT_TRUE(lines[0].ends_with("..."));
    ThrowingFactory factory;
    _files.mgr.register_format_factory(-1, factory);
    EXPECT_EQ(Lines{"E detect_format(): Exception"}, open({1}));
}

TEST_F(SplFileLogTest, ExtraData) {
    auto const path = save(Bytes(20));
    sys::File file;
    ASSERT_EQ(0, file.open(path.c_str(), sys::File::Flag_WRITE));
    SplFileExtData ext;
    EXPECT_EQ(0, SplFileFmtTools::read_and_store_part(file, ext, 15, 5));
    EXPECT_EQ(Lines{}, _log.take());
    EXPECT_EQ(0, SplFileFmtTools::read_and_store_part(file, ext, 30, 7));
    EXPECT_EQ(
        Lines{"W read_and_store_part(): Part is out of file, shortening it (pos = 30, len = 7, "
              "file size = 20)."},
        _log.take());
    EXPECT_EQ(0, SplFileFmtTools::write_parts(file, ext));
    EXPECT_EQ(Lines{}, _log.take()); // long enough
    ext.set_file_length(25);
    EXPECT_EQ(0, SplFileFmtTools::write_parts(file, ext));
    EXPECT_EQ(Lines{"W write_parts(): file length has to be extended from 20 to 25."}, _log.take());
}

TEST_F(SplFileLogTest, Manager) {
    auto const path = save_good();
    auto const fresh = _files.make_name("new.wav");
    SplFileHnd a;
    SplFileHnd b;
    auto const desc = test::make_desc(SplFileBitFmt_S16, 2);
    ASSERT_EQ(0, a.create_new(_files.mgr, fresh.c_str(), desc, 0));
    EXPECT_EQ(Lines{}, _log.take());
    auto const other = _files.make_name("./new.wav"); // the path is shown as given
    b.open(_files.mgr, other.c_str(), false);
    EXPECT_EQ(Lines{"E open(): file \"" + other +
                    "\" is already exclusively opened (currently in creation)."},
              _log.take());
    b.create_new(_files.mgr, other.c_str(), desc, 0);
    EXPECT_EQ(Lines{"E create_new(): file \"" + other + "\" is already opened."}, _log.take());
    b.create_copy(_files.mgr, other.c_str(), SplFileExtData());
    EXPECT_EQ(Lines{"E create_copy(): file \"" + other + "\" is already opened."}, _log.take());
    EXPECT_EQ(0, a.close());
    sys::File lock;
    ASSERT_EQ(0, lock.open(path.c_str(), sys::File::Flag_WRITE));
    ASSERT_EQ(0, a.open(_files.mgr, path.c_str(), false));
    auto const fallback = _log.take(); // the failed attempt to open for writing is told
    ASSERT_EQ(1U, fallback.size());
    EXPECT_TRUE(fallback[0].starts_with("E ::open () failed. File : " + path));
    b.open(_files.mgr, path.c_str(), true);
    EXPECT_EQ(Lines{"E open(): file \"" + path + "\" cannot be opened in write mode."},
              _log.take());
    Floats floats(40);
    a.read_block(floats.data(), 5, 6);
    EXPECT_EQ(Lines{"E read_block(): trying to read data past the end of file (pos = 5, size = 6, "
                    "file len = 10)"},
              _log.take());
    a.write_block(floats.data(), 10, 1);
    EXPECT_EQ(Lines{"E write_block(): trying to write data past the end of file (pos = 10, size = "
                    "1, file len = 10)"},
              _log.take());
    EXPECT_EQ(0, a.close());
    EXPECT_EQ(Lines{}, _log.take());
}

TEST_F(SplFileLogTest, Exceptions) {
    ThrowingFactory factory;
    _files.mgr.register_format_factory(0, factory);
    _log.take();
    SplFileHnd hnd;
    hnd.create_new(_files.mgr, _files.make_name("new.wav").c_str(),
                   test::make_desc(SplFileBitFmt_S16, 2), 0);
    EXPECT_EQ((Lines{"W dtor(): File is still open.", "E create_new(): Exception."}), _log.take());
    hnd.create_copy(_files.mgr, nullptr, SplFileExtData());
    EXPECT_EQ(Lines{"E create_copy(): Exception."}, _log.take());
    hnd.open(_files.mgr, nullptr, false);
    EXPECT_EQ(Lines{"E open(): Exception."}, _log.take());
}

TEST_F(SplFileLogTest, UnknownHandles) {
    SplFileHnd hnd;
    auto const address = get_address(&hnd);
    auto& impl = _files.mgr.use_impl();
    hnd.close();
    impl.close(hnd);
    EXPECT_EQ(Lines(2, "E close(): Unknown file handle (" + address + ")"), _log.take());
    auto const expect_line = [&](char const* name) {
        EXPECT_EQ(Lines{"E " + (name + ("(): Unknown file handle (" + address + ")"))},
                  _log.take());
    };
    Floats floats(2);
    EXPECT_THROW(impl.get_length(hnd), std::runtime_error);
    expect_line("get_length");
    EXPECT_THROW(impl.get_file_format(hnd), std::runtime_error);
    expect_line("get_sample_format");
    EXPECT_THROW(impl.can_be_written(hnd), std::runtime_error);
    expect_line("can_be_written");
    EXPECT_THROW(impl.is_len_fixed(hnd), std::runtime_error);
    expect_line("is_len_fixed");
    EXPECT_THROW(hnd.get_file_format(), std::runtime_error);
    expect_line("get_sample_format");
    EXPECT_THROW(hnd.write_block(floats.data(), 0, 1), std::runtime_error);
    expect_line("write_block");
}

TEST_F(SplFileLogTest, Destructors) {
    auto const path = save_good();
    {
        SplFileHnd hnd;
        ASSERT_EQ(0, hnd.open(_files.mgr, path.c_str(), false));
        EXPECT_EQ(Lines{}, _log.take());
    }
    EXPECT_EQ(Lines{"E dtor(): file is still open. Auto-closing.\n"}, _log.take());
    SplFileHnd a;
    SplFileHnd b;
    {
        SplFileMgr mgr(_files.mutex);
        ASSERT_EQ(0, a.open(mgr, path.c_str(), false));
        ASSERT_EQ(0, b.open(mgr, path.c_str(), false));
    }
    EXPECT_EQ((Lines{"W dtor(): Warning, remaining open resources: 1 files, 2 handles.",
                     "I dtor(): File \"/" + path + "\", 2 handles", // the key
                     "W dtor(): File is still open."}),
              _log.take());
}

// A line has its limit, whatever a path brings along.
TEST_F(SplFileLogTest, LongPathsAreCut) {
    std::string path = _files.dir.get_path().string();
    while (path.size() < 3000) {
        path += "/./././.";
    }
    path += "/x.wav";
    SplFileHnd hnd;
    EXPECT_NE(0, hnd.create_new(_files.mgr, path.c_str(), SplFileFmtDesc(), 0));
    for (auto const& line : _log.take()) {
        EXPECT_LE(line.size(), 2U + 1023U);
    }
}
