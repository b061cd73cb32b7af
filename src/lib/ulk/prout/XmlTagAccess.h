#pragma once

#include <string>
#include <vector>

class TiXmlElement;
class TiXmlNode;

namespace ulk::prout {

// Reads and writes elements and attributes of a TinyXML tree by path. A path is element names
// separated by "/", where ".." is the parent; empty components don't count. Short-lived; the tree
// belongs to the caller, and nobody else touches it meanwhile.
class XmlTagAccess {
public:
    // What a walk does about missing elements.
    enum CrMode : int {
        CrMode_NONE = 0, // the walk fails
        CrMode_MISSING,  // creates them
        CrMode_LAST      // creates them, and always a new last one, unless it is ".."
    };

    explicit XmlTagAccess(TiXmlNode& node);
    explicit XmlTagAccess(TiXmlNode const& node); // to be read alone
    virtual ~XmlTagAccess() = default;

    void go_to(TiXmlNode& node) { _node = &node; }
    TiXmlNode& use_node() const { return *_node; }
    // Pushes and pops come in pairs.
    void push_state() { _state_stack.push_back(_node); }
    void pop_state();

    // False, and the current node stays, when path leads nowhere. A walk that fails keeps what it
    // created.
    bool go_to(std::string const& path, bool create);
    bool add_child_node_and_go_to(std::string const& path);
    // The node reached from the current one, which stays, or null.
    TiXmlNode* go_to(std::vector<std::string> const& path, CrMode mode) const;

    // Child elements, in document order; all of them when name is empty.
    void list_elt(std::vector<TiXmlNode*>& list, char const* name) const;
    // Attribute names of the current element, in document order.
    void list_attrib(std::vector<std::string>& list) const;

    // Attributes: the last component of path is the name of an attribute of the element where the
    // others lead; the current node stays. set_val creates missing elements, prints numbers with
    // "%1%", and is false when path leads to no element. get_val is false, and val untouched, when
    // there is no such attribute or it is no number.
    bool set_val(std::string const& path, std::string const& val);
    bool set_val(std::string const& path, double val);
    bool set_val(std::string const& path, long long val);
    bool get_val(std::string const& path, std::string& val) const;
    bool get_val(std::string const& path, double& val) const;
    bool get_val(std::string const& path, long long& val) const;

    // Splits path into an attribute's name and the element that path leads to. False without one.
    bool go_to_attribute(TiXmlElement*& elt, std::string& attrib, std::string const& path,
                         bool create) const;

private:
    static std::vector<std::string> split(std::string const& path);
    static void remove_empty_elt(std::vector<std::string>& list);
    static TiXmlNode* go_to_child(TiXmlNode& node, std::string const& name, bool create,
                                  bool always_new);

    static char const _delim[];

    TiXmlNode* _node;
    std::vector<TiXmlNode*> _state_stack;
};

} // namespace ulk::prout
