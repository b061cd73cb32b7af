#pragma once

#include <string>
#include <vector>

namespace ulk::prout {

class DescMain;

// The XML form of a whole description document (UTF-8). Control side; allocates.
//     <component>
//         <properties>   property elements, as below
//         <unique_id val>
//         <parameters>
//             <scope name count>   "global", "1" to "4", "note", "6"
//                 <parameter id>   property elements, then
//                     <range min max>
//         <pin_confs default_id>
//             <pin_conf id>   property element with the name, if any, then
//                 <pins_audio in out>   channel counts, separated by blanks
//                 <pins_data in out>
//         <plugins>
//             <plugin id type>
//                 <link id>
//     <property name val>
// A value of an enumeration is written as its text, a bit set as the texts of its bits separated
// by blanks; what has no text is written as a number.
class DescXml {
public:
    // Writes the parts of desc in their order. 0; -14492 when a text is no valid UTF-8, -14490
    // when it holds a character that XML can't, -14491 for an empty property key, -14484 for a
    // channel count out of 1 to 4096, -14500 for an exception. Failures are logged and leave xml
    // alone.
    static int write(std::string& xml, DescMain const& desc);

    // Reads into the registered parts; elements of other parts, and unknown ones, are skipped.
    // Parts without an element keep their content. 0, -14491 for what is no description, another
    // code for a field with a wrong content, -14500 for an exception. Failures are logged; parts
    // may then be replaced halfway: the document is to be discarded.
    // atom_list_ptr: receives the atoms of the parts in xml, in document order.
    static int read(DescMain& desc, std::string const& xml,
                    std::vector<unsigned int>* atom_list_ptr = nullptr);
};

} // namespace ulk::prout
