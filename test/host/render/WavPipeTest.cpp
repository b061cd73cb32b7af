#include "host/render/WavPipe.h"

#include "host/Error.h"
#include "host/render/SoundMaker.h"
#include "support/FileFault.h"
#include "support/TempDir.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileHnd.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/Mutex.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <thread>
#include <unistd.h>

using test::FileFault;
using test::SoundMaker;
using ulk::host::Error;
using ulk::host::render::OutputFormat;
using ulk::host::render::WavPipe;
using namespace ulk::sacc;

namespace {

// A pipe whose other end is read to the end by a thread.
class ReadPipe {
public:
    explicit ReadPipe(int flags = 0) {
        int fd_arr[2] = {};
        EXPECT_EQ(0, ::pipe2(fd_arr, flags));
        _in = fd_arr[0];
        _out = fd_arr[1];
        _thread = std::thread([this] { read(); });
    }
    ~ReadPipe() { finish(); }

    int get_fd() const { return _out; }

    std::string const& finish() {
        if (_thread.joinable()) {
            ::close(_out);
            _thread.join();
            ::close(_in);
        }
        return _bytes;
    }

private:
    void read() {
        char buf[1000];
        for (;;) {
            long const len = ::read(_in, buf, sizeof(buf));
            if (len > 0) {
                _bytes.append(buf, static_cast<std::size_t>(len));
            } else if (len == 0 || errno != EAGAIN) {
                return;
            } else {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
    }

    int _in = -1;
    int _out = -1;
    std::string _bytes;
    std::thread _thread;
};

std::string make_file(SoundMaker::Sound const& sound, OutputFormat const& format) {
    test::TempDir dir;
    std::string const path = dir.make_name("file.wav");
    ulk::sys::Mutex mutex;
    SplFileMgr mgr(mutex);
    SplFileFmtDesc desc;
    desc.set_data(SplFileFmt_WAV, format.bit_fmt, format.sample_freq, format.nbr_chn);
    SplFileHnd hnd;
    EXPECT_EQ(0, hnd.create_new(mgr, path.c_str(), desc, 0));
    auto const len = static_cast<long>(sound[0].size());
    EXPECT_EQ(0, hnd.write_block(SoundMaker::interleave(sound).data(), 0, len));
    EXPECT_EQ(0, hnd.close());
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_all(SoundMaker& maker, WavPipe& pipe, SoundMaker::Sound const& sound, long max_len) {
    maker.push_blocks(sound, max_len,
                      [&](float const* const* chn_arr, long len) { pipe.write(chn_arr, len); });
    pipe.flush();
    EXPECT_EQ(0, pipe.get_nbr_left());
}

class WavPipeTest : public ::testing::Test {
protected:
    static constexpr long _len = 40000;

    SoundMaker _maker{21};
    OutputFormat _format = {SplFileBitFmt_S16, 44100, 2};
    SoundMaker::Sound _sound = _maker.draw_sound(2, _len);
};

} // namespace

TEST_F(WavPipeTest, GivesTheBytesOfAFile) {
    for (int fmt = 0; fmt < SplFileBitFmt_NBR_ELT; ++fmt) {
        for (int const nbr_chn : {1, 2, 3, 16}) {
            OutputFormat const format = {SplFileBitFmt(fmt), 44100.6, nbr_chn};
            auto sound = _maker.draw_sound(nbr_chn, 5001);
            sound[0][17] = std::numeric_limits<float>::quiet_NaN();
            sound[0][18] = -std::numeric_limits<float>::infinity();
            ReadPipe read_pipe;
            WavPipe pipe(read_pipe.get_fd(), "pipe", format, 5001);
            write_all(_maker, pipe, sound, 3000);
            EXPECT_TRUE(make_file(sound, format) == read_pipe.finish()) << fmt << nbr_chn;
        }
    }
}

TEST_F(WavPipeTest, NoFrameAtAll) {
    ReadPipe read_pipe;
    WavPipe pipe(read_pipe.get_fd(), "pipe", _format, 0);
    pipe.flush();
    auto const& bytes = read_pipe.finish();
    ASSERT_EQ(44u, bytes.size());
    EXPECT_EQ("RIFF$", bytes.substr(0, 5)); // 36 follow
}

TEST_F(WavPipeTest, ShortAndInterruptedWritesGoOn) {
    std::string const expected = make_file(_sound, _format);
    for (long const max_len : {1L, 3L, 4097L}) {
        ReadPipe read_pipe;
        FileFault fault;
        fault.limit_transfers(max_len);
        fault.fail_at(2, EINTR, FileFault::SysCall::Op_WRITE, 3);
        WavPipe pipe(read_pipe.get_fd(), "pipe", _format, _len);
        write_all(_maker, pipe, _sound, 5000);
        EXPECT_TRUE(fault.was_hit());
        EXPECT_TRUE(expected == read_pipe.finish()) << max_len;
    }
}

TEST_F(WavPipeTest, WaitsForAReaderThatIsSlow) {
    ReadPipe read_pipe(O_NONBLOCK);
    WavPipe pipe(read_pipe.get_fd(), "pipe", _format, _len);
    write_all(_maker, pipe, _sound, 5000);
    EXPECT_TRUE(make_file(_sound, _format) == read_pipe.finish());
}

TEST_F(WavPipeTest, AReaderThatGoesIsTold) {
    ulk::sys::DescriptorOut::ignore_gone_readers();
    int fd_arr[2] = {};
    ASSERT_EQ(0, ::pipe(fd_arr));
    WavPipe pipe(fd_arr[1], "standard output", _format, _len);
    ::close(fd_arr[0]);
    try {
        write_all(_maker, pipe, _sound, 5000);
        FAIL();
    } catch (Error const& e) {
        EXPECT_EQ(Error::Kind_IO, e.get_kind());
        EXPECT_STREQ("standard output: writing failed: the program that reads it has gone",
                     e.what());
    }
    ::close(fd_arr[1]);
}

TEST_F(WavPipeTest, AFullDeviceIsTold) {
    int const fd = ::open("/dev/full", O_WRONLY);
    WavPipe pipe(fd, "/dev/full", _format, _len);
    try {
        write_all(_maker, pipe, _sound, 5000);
        FAIL();
    } catch (Error const& e) {
        EXPECT_EQ(Error::Kind_IO, e.get_kind());
        EXPECT_STREQ("/dev/full: writing failed: No space left on device", e.what());
    }
    ::close(fd);
}

TEST_F(WavPipeTest, TooLongOrTooManyChannelsIsRefusedBeforeAnyByte) {
    ReadPipe read_pipe;
    EXPECT_THROW(WavPipe(read_pipe.get_fd(), "pipe", _format, 1LL << 31), Error);
    EXPECT_THROW(WavPipe(read_pipe.get_fd(), "pipe", {SplFileBitFmt_F32, 48000, 70000}, 1), Error);
    EXPECT_EQ("", read_pipe.finish());
}
