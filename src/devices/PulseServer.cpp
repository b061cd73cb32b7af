#include "devices/PulseServer.h"

#include <pulse/pulseaudio.h>

#include <chrono>
#include <memory>

namespace ulk::devices {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto patience = std::chrono::seconds(3);

// A connection that ends with the object.
class Connection {
public:
    Connection()
        : _loop(pa_mainloop_new())
        , _context(pa_context_new(pa_mainloop_get_api(_loop.get()), "tessitone")) {
        _failed_flag = pa_context_connect(_context.get(), nullptr, PA_CONTEXT_NOFLAGS, nullptr) < 0;
        _deadline = Clock::now() + patience;
    }

    bool has_devices() {
        wait([this] { return is_in_state(PA_CONTEXT_READY); });
        if (_failed_flag) {
            return false;
        }
        bool result = false;
        pa_operation* const question =
            pa_context_get_server_info(_context.get(), &note_devices, &result);
        wait([&] { return pa_operation_get_state(question) != PA_OPERATION_RUNNING; });
        pa_operation_cancel(question); // result is gone soon
        pa_operation_unref(question);
        return result;
    }

private:
    struct Free {
        void operator()(pa_mainloop* loop) const { pa_mainloop_free(loop); }
        void operator()(pa_context* context) const {
            pa_context_disconnect(context);
            pa_context_unref(context);
        }
    };

    static void note_devices(pa_context*, pa_server_info const* info, void* result) {
        *static_cast<bool*>(result) = info != nullptr && info->default_sink_name != nullptr &&
                                      info->default_source_name != nullptr;
    }
    bool is_in_state(pa_context_state_t state) const {
        return pa_context_get_state(_context.get()) == state;
    }
    template <class F>
    void wait(F is_done) {
        constexpr int step = 100'000; // us
        while (!_failed_flag && !is_done()) {
            _failed_flag = Clock::now() > _deadline || pa_mainloop_prepare(_loop.get(), step) < 0 ||
                           pa_mainloop_poll(_loop.get()) < 0 ||
                           pa_mainloop_dispatch(_loop.get()) < 0 ||
                           is_in_state(PA_CONTEXT_FAILED) || is_in_state(PA_CONTEXT_TERMINATED);
        }
    }

    std::unique_ptr<pa_mainloop, Free> _loop;
    std::unique_ptr<pa_context, Free> _context;
    bool _failed_flag;
    Clock::time_point _deadline;
};

} // namespace

bool PulseServer::is_usable() {
    return Connection().has_devices();
}

} // namespace ulk::devices
