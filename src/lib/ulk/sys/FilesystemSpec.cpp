#include "ulk/sys/FilesystemSpec.h"

#include <string_view>
#include <vector>

namespace ulk::sys {

FilesystemSpec& FilesystemSpec::use_instance() {
    static FilesystemSpec instance;
    return instance;
}

int FilesystemSpec::simplify_path(std::string& path) const {
    std::vector<std::string_view> piece_list;
    std::string_view rest = path;
    for (;;) {
        auto const pos = rest.find('/');
        std::string_view const piece = rest.substr(0, pos);
        if (piece == "..") {
            // With nothing before it, it goes alone.
            if (!piece_list.empty()) {
                piece_list.pop_back();
            }
        } else if (piece != ".") {
            piece_list.push_back(piece);
        }
        if (pos == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(pos + 1);
    }
    std::string result;
    for (auto const piece : piece_list) {
        result += '/';
        result += piece;
    }
    path = result;
    return 0;
}

} // namespace ulk::sys
