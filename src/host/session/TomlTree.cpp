#include "host/session/TomlTree.h"

#include "host/session/TextPos.h"

// A session is four levels deep; what is nested further is hostile to the stack.
#define TOML_MAX_NESTED_VALUES 32
#include <toml++/toml.h>

#include <algorithm>
#include <optional>
#include <tuple>
#include <utility>

namespace ulk::host::session {

namespace {

constexpr int max_nbr_dots = 16; // in a key

Session::Place conv_place(toml::source_position const& pos, int file) {
    return {file, static_cast<int>(pos.line), static_cast<int>(pos.column)};
}

// Finds keys of very many parts, which the parser would follow into an overflow of the stack. It
// need not understand the document, only skip texts and comments.
class KeyCheck {
public:
    explicit KeyCheck(std::string_view txt)
        : _txt(txt) {}

    // The offset of such a key's last part, if there is one.
    std::optional<std::size_t> find() {
        int nbr_dots = 0;
        for (; _pos < _txt.size(); ++_pos) {
            char const c = _txt[_pos];
            if (c == '"' || c == '\'') {
                skip_text(c);
            } else if (c == '#') {
                _pos = std::min(_txt.find('\n', _pos), _txt.size());
                nbr_dots = 0;
            } else if (c == '.') {
                if (++nbr_dots > max_nbr_dots) {
                    return _pos;
                }
            } else if (std::string_view("\n,=[]{}").find(c) != std::string_view::npos) {
                nbr_dots = 0;
            }
        }
        return std::nullopt;
    }

private:
    // Leaves the position at the last quote.
    void skip_text(char quote) {
        std::string_view const rest = _txt.substr(_pos);
        bool const long_flag = rest.size() > 2 && rest[1] == quote && rest[2] == quote;
        std::size_t const len = long_flag ? 3 : 1;
        for (_pos += len; _pos < _txt.size(); ++_pos) {
            char const c = _txt[_pos];
            if (c == '\\' && quote == '"') {
                ++_pos;
            } else if (c == '\n' && !long_flag) {
                return; // a mistake, which the parser tells
            } else if (_txt.substr(_pos, len) == rest.substr(0, len)) {
                _pos += len - 1;
                // A long text may end in two quotes of its own.
                for (int nbr = 0;
                     long_flag && nbr < 2 && _txt.substr(_pos + 1, 1) == rest.substr(0, 1); ++nbr) {
                    ++_pos;
                }
                return;
            }
        }
    }

    std::string_view _txt;
    std::size_t _pos = 0;
};

// Moves the content of the parser's tree over.
class Conversion {
public:
    explicit Conversion(int file)
        : _file(file) {}

    Node conv(toml::node& src) const {
        Node node{conv_place(src.source().begin, _file), {}};
        if (auto* const txt = src.as_string()) {
            node.val = std::move(txt->get());
        } else if (auto const* const integer = src.as_integer()) {
            node.val = static_cast<double>(integer->get());
        } else if (auto const* const number = src.as_floating_point()) {
            node.val = number->get();
        } else if (auto const* const flag = src.as_boolean()) {
            node.val = flag->get();
        } else if (auto* const list = src.as_array()) {
            node.val = conv_list(*list);
        } else if (auto* const table = src.as_table()) {
            node.val = conv_table(*table);
        }
        return node;
    }

private:
    Node::List conv_list(toml::array& src) const {
        Node::List list;
        list.reserve(src.size());
        for (toml::node& elt : src) {
            list.push_back(conv(elt));
        }
        return list;
    }

    Node::Table conv_table(toml::table& src) const {
        Node::Table table;
        table.reserve(src.size());
        for (auto&& [key, node] : src) {
            table.push_back(
                {std::string(key.str()), conv_place(key.source().begin, _file), conv(node)});
        }
        // The parser has them by name.
        std::sort(table.begin(), table.end(), [](Node::Field const& a, Node::Field const& b) {
            return std::tie(a.place.line, a.place.column) < std::tie(b.place.line, b.place.column);
        });
        return table;
    }

    int _file;
};

} // namespace

std::optional<Node> TomlTree::parse(std::string_view txt, int file, Diagnostics& diagnostics) {
    if (auto const offset = KeyCheck(txt).find()) {
        TextPos pos(txt, file);
        pos.move(*offset);
        diagnostics.error(pos.get_place(), "a name of more than " + std::to_string(max_nbr_dots) +
                                               " parts; no field lies that deep");
        return std::nullopt;
    }
    try {
        toml::table table = toml::parse(txt);
        Node node = Conversion(file).conv(table);
        node.place = {file, 1, 1};
        return node;
    } catch (toml::parse_error const& e) {
        diagnostics.error(conv_place(e.source().begin, file), std::string(e.description()));
        return std::nullopt;
    }
}

} // namespace ulk::host::session
