// ulk::sys::File against what it stands on: the system calls themselves, and the C library's
// buffered streams. All of them work on a file in memory (or the page cache), so that what is
// measured is the software.

#include "ulk/sys/File.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using ulk::archi::UByte;
using ulk::sys::File;

namespace {

constexpr long file_len = 16 << 20;

// A file in memory that every row reads, with the pages present.
class Place {
public:
    Place() {
        std::filesystem::path dir = "/dev/shm";
        if (!std::filesystem::exists(dir)) {
            dir = std::filesystem::temp_directory_path();
        }
        _name = (dir / ("tessitone-bench-" + std::to_string(::getpid()))).string();
        File f;
        std::vector<UByte> const data(file_len, 1);
        if (f.open(_name.c_str(), 15) != 0 || f.write(data.data(), file_len) != 0) {
            std::abort();
        }
    }
    ~Place() { std::filesystem::remove(_name); }

    static char const* use_name() {
        static Place const place;
        return place._name.c_str();
    }

private:
    std::string _name;
};

// Positions all over the file, the same for every row.
class Walk {
public:
    explicit Walk(long len)
        : _len(len) {}

    long get_next() {
        _state = _state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<long>((_state >> 33) % static_cast<unsigned long>(file_len - _len));
    }

private:
    long _len;
    unsigned long _state = 1;
};

struct UlkFile {
    File file;

    UlkFile() { file.open(Place::use_name(), File::Flag_WRITE); }
    void rewind() { file.seek(0); }
    bool read(UByte* data, long len) { return file.read(data, len) == 0; }
    bool write(UByte const* data, long len) { return file.write(data, len) == 0; }
    bool read_at(UByte* data, long len, long pos) {
        return file.seek(pos) == 0 && file.read(data, len) == 0;
    }
};

struct RawCalls {
    int fd = ::open(Place::use_name(), O_RDWR);

    ~RawCalls() { ::close(fd); }
    void rewind() { ::lseek(fd, 0, SEEK_SET); }
    bool read(UByte* data, long len) { return ::read(fd, data, static_cast<size_t>(len)) == len; }
    bool write(UByte const* data, long len) {
        return ::write(fd, data, static_cast<size_t>(len)) == len;
    }
    bool read_at(UByte* data, long len, long pos) {
        return ::pread(fd, data, static_cast<size_t>(len), pos) == len;
    }
};

struct CStream {
    FILE* file = std::fopen(Place::use_name(), "r+");

    ~CStream() { std::fclose(file); }
    void rewind() { ::fseeko(file, 0, SEEK_SET); }
    bool read(UByte* data, long len) {
        return std::fread(data, 1, static_cast<size_t>(len), file) == static_cast<size_t>(len);
    }
    bool write(UByte const* data, long len) {
        return std::fwrite(data, 1, static_cast<size_t>(len), file) == static_cast<size_t>(len);
    }
    bool read_at(UByte* data, long len, long pos) {
        return ::fseeko(file, pos, SEEK_SET) == 0 && read(data, len);
    }
};

template <class Io>
void read_sequential(benchmark::State& state) {
    long const len = state.range(0);
    std::vector<UByte> data(static_cast<size_t>(len));
    Io io;
    long pos = 0;
    for (auto _ : state) {
        if (pos + len > file_len) {
            io.rewind();
            pos = 0;
        }
        if (!io.read(data.data(), len)) {
            state.SkipWithError("read failed");
        }
        pos += len;
        benchmark::DoNotOptimize(data.data());
    }
    state.SetBytesProcessed(state.iterations() * len);
}

template <class Io>
void write_sequential(benchmark::State& state) {
    long const len = state.range(0);
    std::vector<UByte> const data(static_cast<size_t>(len), 1);
    Io io;
    long pos = 0;
    for (auto _ : state) {
        if (pos + len > file_len) {
            io.rewind();
            pos = 0;
        }
        if (!io.write(data.data(), len)) {
            state.SkipWithError("write failed");
        }
        pos += len;
    }
    state.SetBytesProcessed(state.iterations() * len);
}

// Blocks anywhere, as the background thread of a sample cache reads them.
template <class Io>
void read_random(benchmark::State& state) {
    long const len = state.range(0);
    std::vector<UByte> data(static_cast<size_t>(len));
    Io io;
    Walk walk(len);
    for (auto _ : state) {
        if (!io.read_at(data.data(), len, walk.get_next())) {
            state.SkipWithError("read failed");
        }
        benchmark::DoNotOptimize(data.data());
    }
    state.SetBytesProcessed(state.iterations() * len);
}

} // namespace

BENCHMARK(read_sequential<RawCalls>)
    ->Name("read_sequential/system_calls")
    ->Arg(8)
    ->Arg(512)
    ->Arg(65536);
BENCHMARK(read_sequential<CStream>)->Name("read_sequential/stdio")->Arg(8)->Arg(512)->Arg(65536);
BENCHMARK(read_sequential<UlkFile>)
    ->Name("read_sequential/tessitone")
    ->Arg(8)
    ->Arg(512)
    ->Arg(65536);
BENCHMARK(write_sequential<RawCalls>)
    ->Name("write_sequential/system_calls")
    ->Arg(8)
    ->Arg(512)
    ->Arg(65536);
BENCHMARK(write_sequential<CStream>)->Name("write_sequential/stdio")->Arg(8)->Arg(512)->Arg(65536);
BENCHMARK(write_sequential<UlkFile>)
    ->Name("write_sequential/tessitone")
    ->Arg(8)
    ->Arg(512)
    ->Arg(65536);
BENCHMARK(read_random<RawCalls>)->Name("read_random/system_calls")->Arg(16)->Arg(4096)->Arg(32768);
BENCHMARK(read_random<CStream>)->Name("read_random/stdio")->Arg(16)->Arg(4096)->Arg(32768);
BENCHMARK(read_random<UlkFile>)->Name("read_random/tessitone")->Arg(16)->Arg(4096)->Arg(32768);
