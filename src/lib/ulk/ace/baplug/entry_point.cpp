#include "ulk/ace/baplug/entry_point.h"

#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/Factory.h"
#include "ulk/udbg/LogMgr.h"
#include "ulk/udbg/log.h"

namespace ulk::ace::baplug {

namespace {

int install_log(void* data) {
    try {
        udbg::LogMgr::set_scope_crop("/src/");
        udbg::LogMgr::create_as_plugin("baplug", reinterpret_cast<udbg::LogMgr::Callback>(data));
        return Err_OK;
    } catch (...) {
        return Err_FAILURE;
    }
}

} // namespace

int create_factory(void* data) {
    pibase::BidirComPoint& com = **static_cast<pibase::BidirComPoint**>(data);
    try {
        ULK_LOG(INFO, "create_factory(): Creating factory...");
        com.plugin_execute = nullptr; // a failed creation leaves a point on which nobody listens
        new Factory(com);             // owned by the point, until DESTROY
        ULK_LOG(INFO, "create_factory(): Success.");
        return Err_OK;
    } catch (...) {
        com.plugin_execute = nullptr; // the constructor may have got as far as to write it
        ULK_LOG(ERROR, "create_factory(): Failure.");
        return Err_FAILURE;
    }
}

// In the namespace, so that its log line tells that name.
extern "C" [[gnu::visibility("default")]] ulk::archi::Int32 ulk_entry_point(ulk::archi::Int32 cmd,
                                                                            void* data) {
    switch (cmd) {
    case 1:
        return create_factory(data);
    case 2:
        return install_log(data);
    default:
        ULK_LOG(WARNING, "ulk_entry_point(): Unknown or not implemented command %1%.", cmd);
        return Err_NOT_IMPLEMENTED;
    }
}

} // namespace ulk::ace::baplug
