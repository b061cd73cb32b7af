#include "host/session/TomlTree.h"

#include "host/session/QuotedText.h"
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

// Finds what the parser is better not given: keys of very many parts, which it would follow into an
// overflow of the stack, letters outside of texts that the language has not, at some of which its
// behaviour is undefined, and values without end. It need not understand the document, only skip
// texts and comments.
class TextCheck {
public:
    struct Finding {
        std::size_t offset;
        std::string text;
    };

    explicit TextCheck(std::string_view txt)
        : _txt(txt) {}

    std::optional<Finding> find() const {
        int nbr_dots = 0;
        long nbr_values = 0;
        for (std::size_t pos = TextPos::get_bom_len(_txt); pos < _txt.size(); ++pos) {
            char const c = _txt[pos];
            if (c == '"' || c == '\'') {
                pos = QuotedText::find_end(_txt, pos) - 1;
            } else if (c == '#') {
                pos = std::min(_txt.find('\n', pos), _txt.size());
                nbr_dots = 0;
            } else if (static_cast<unsigned char>(c) >= 0x80) {
                return Finding{pos, "this letter stands in quotes alone"};
            } else if (c == '.' && ++nbr_dots > max_nbr_dots) {
                return Finding{pos, "a name of more than " + std::to_string(max_nbr_dots) +
                                        " parts; no field lies that deep"};
            } else if (std::string_view("\n,=[]{}").find(c) != std::string_view::npos) {
                nbr_dots = 0;
                nbr_values += c == ',' || c == '=' ? 1 : 0;
            }
            if (nbr_values > Node::max_nbr) {
                return Finding{pos, Node::print_limit()};
            }
        }
        return std::nullopt;
    }

private:
    std::string_view _txt;
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
    if (auto const finding = TextCheck(txt).find()) {
        TextPos pos(txt, file);
        pos.move(finding->offset);
        diagnostics.error(pos.get_place(), finding->text);
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
