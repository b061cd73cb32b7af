#include "host/session/JsonTree.h"

#include "host/session/TextPos.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <utility>

namespace ulk::host::session {

namespace {

constexpr std::size_t max_depth = 32;

// Builds the tree while the parser goes through the text, and walks along in the text: between two
// of the parser's calls lie the token of the first one and what separates it from the next.
class Builder : public nlohmann::json_sax<nlohmann::json> {
public:
    Builder(std::string_view txt, int file, Diagnostics& diagnostics)
        : _txt(txt)
        , _pos(txt, file)
        , _diagnostics(diagnostics) {}

    Node take_root() { return std::move(_root); }

    bool null() override { return add({}); }
    bool boolean(bool val) override { return add(val); }
    bool number_integer(number_integer_t val) override { return add(static_cast<double>(val)); }
    bool number_unsigned(number_unsigned_t val) override { return add(static_cast<double>(val)); }
    bool number_float(number_float_t val, string_t const&) override { return add(val); }
    bool string(string_t& val) override { return add(std::move(val)); }
    bool binary(binary_t&) override { return false; } // unknown to the text form

    bool start_object(std::size_t) override { return open(Node::Table()); }
    bool start_array(std::size_t) override { return open(Node::List()); }

    bool key(string_t& name) override {
        go_to_token();
        _name_arr.back() = {std::move(name), _pos.get_place()};
        return true;
    }
    bool end_object() override {
        check_names(std::get<Node::Table>(_node_arr.back().val));
        return close();
    }
    bool end_array() override { return close(); }

    bool parse_error(std::size_t position, std::string const&,
                     nlohmann::detail::exception const& e) override {
        // The parser tells the number of bytes it has read, the one that is wrong among them.
        _pos.move(std::max(_bom_len + position, std::size_t(1)) - 1);
        // "[json.exception.parse_error.101] parse error at line 1, column 2: syntax error while
        // ..."
        std::string const text = e.what();
        std::size_t const syntax = text.find("syntax error");
        std::size_t const beg = syntax == std::string::npos ? text.find("] ") + 2 : syntax;
        _diagnostics.error(_pos.get_place(), text.substr(beg));
        return false;
    }

private:
    struct Name {
        std::string txt;
        Session::Place place;
    };
    using Val = decltype(Node::val);

    // Behind the last token and on to the next.
    void go_to_token() {
        std::size_t const pos = _txt.find_first_not_of(" \t\r\n,:", skip_token(_pos.get_offset()));
        _pos.move(std::min(pos, _txt.size()));
    }

    std::size_t skip_token(std::size_t pos) {
        if (!std::exchange(_token_flag, true)) {
            return pos;
        }
        char const c = _txt[pos];
        if (c == '"') {
            for (++pos; _txt[pos] != '"'; ++pos) {
                pos += _txt[pos] == '\\' ? 1 : 0;
            }
            return pos + 1;
        }
        bool const mark_flag = std::string_view("{}[]").find(c) != std::string_view::npos;
        return mark_flag ? pos + 1 : _txt.find_first_of(" \t\r\n,:{}[]", pos);
    }

    // Whether one more value may come.
    bool count() {
        if (++_nbr_values > Node::max_nbr) {
            _diagnostics.error(_pos.get_place(), Node::print_limit());
        }
        return _nbr_values <= Node::max_nbr;
    }

    bool add(Val val) {
        go_to_token();
        put({_pos.get_place(), std::move(val)});
        return count();
    }

    bool open(Val val) {
        go_to_token();
        if (_node_arr.size() == max_depth) {
            _diagnostics.error(_pos.get_place(), "nested more than " + std::to_string(max_depth) +
                                                     " deep; no field lies there");
            return false;
        }
        _node_arr.push_back({_pos.get_place(), std::move(val)});
        _name_arr.emplace_back();
        return count();
    }

    bool close() {
        go_to_token();
        Node node = std::move(_node_arr.back());
        _node_arr.pop_back();
        _name_arr.pop_back();
        put(std::move(node));
        return true;
    }

    // Into the list or table that is open.
    void put(Node node) {
        if (_node_arr.empty()) {
            _root = std::move(node);
        } else if (auto* const list = std::get_if<Node::List>(&_node_arr.back().val)) {
            list->push_back(std::move(node));
        } else {
            Name& name = _name_arr.back();
            std::get<Node::Table>(_node_arr.back().val)
                .push_back({std::move(name.txt), name.place, std::move(node)});
        }
    }

    void check_names(Node::Table const& table) {
        std::vector<Node::Field const*> field_arr;
        for (Node::Field const& field : table) {
            field_arr.push_back(&field);
        }
        std::stable_sort(field_arr.begin(), field_arr.end(),
                         [](auto const* a, auto const* b) { return a->name < b->name; });
        for (std::size_t pos = 1; pos < field_arr.size(); ++pos) {
            if (field_arr[pos]->name == field_arr[pos - 1]->name) {
                _diagnostics.error(field_arr[pos]->place, "\"" + field_arr[pos]->name +
                                                              "\" stands here for the second time");
            }
        }
    }

    std::string_view _txt;
    TextPos _pos; // at the start of the last token, or of the text
    std::size_t _bom_len = TextPos::get_bom_len(_txt);
    long _nbr_values = 0;
    bool _token_flag = false; // there is a last token
    Diagnostics& _diagnostics;
    Node _root;
    std::vector<Node> _node_arr; // the open ones, outermost first
    std::vector<Name> _name_arr; // the last name in each of them
};

} // namespace

std::optional<Node> JsonTree::parse(std::string_view txt, int file, Diagnostics& diagnostics) {
    Builder builder(txt, file, diagnostics);
    std::string_view const body = txt.substr(TextPos::get_bom_len(txt));
    bool const ok_flag = nlohmann::json::sax_parse(body.begin(), body.end(), &builder);
    return ok_flag ? std::optional(builder.take_root()) : std::nullopt;
}

} // namespace ulk::host::session
