#pragma once

namespace ulk::host::session {

template <class ReadVal>
bool ValueReader::read_points(Node const& node, std::string_view name, TimeOrigin const& origin,
                              ReadVal read_val) {
    auto const* const list = std::get_if<Node::List>(&node.val);
    if (list == nullptr || list->empty()) {
        refuse(node, name, "a list of points, [[time, value], ...]");
        return false;
    }
    bool ok_flag = true;
    double last = -max_time;
    for (Node const& elt : *list) {
        auto const* const point = std::get_if<Node::List>(&elt.val);
        if (point == nullptr || point->size() != 2) {
            refuse(elt, name, "a list of points, each [time, value]");
            ok_flag = false;
            continue;
        }
        auto const time = read_time((*point)[0], name, origin);
        if (time && *time < last) {
            _diagnostics.error((*point)[0].place, "a point lies before the one that precedes it; "
                                                  "points stand in the order of their times");
            ok_flag = false;
        }
        last = time.value_or(last);
        ok_flag = read_val((*point)[1], last) && time && ok_flag;
    }
    return ok_flag;
}

} // namespace ulk::host::session
