#pragma once

namespace ulk::txt::out {

class RunSink;

// Sink of characters, between a print_begin () and a print_end () for each text or piece of one.
// A device that does not allocate is fit for the real-time thread.
class DevInterface {
public:
    DevInterface() = default;
    virtual ~DevInterface() = default;

    virtual void print_begin() = 0;
    virtual void print_char(char c) = 0;
    virtual void print_end() = 0;

    // Runs of characters, len of 0 or less being none. They go to the run sink if there is one, and
    // stand for as many print_char () otherwise. Not virtual: the slots of a device are settled.
    void print_text(char const* txt, long len);
    void print_fill(char c, long len);

protected:
    // The sink writes to the same place as print_char (), and lives as long as the device.
    explicit DevInterface(RunSink& sink)
        : _sink_ptr(&sink) {}

private:
    RunSink* _sink_ptr = nullptr;
};

} // namespace ulk::txt::out
