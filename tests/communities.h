// Extended communities as they stand on the wire, and a model of what a clean-up makes of a list.
#pragma once

#include "octets.h"

namespace qel::test {

// Internal to each source, as the families' own tests give some of the names to records of theirs.
const std::string kRt1 = " 0002 fde9 00000064 ";       // 65001:100
const std::string kRt2 = " 0002 fde9 00000065 ";       // 65001:101
const std::string kRt4 = " 0102 c0000201 0007 ";       // 192.0.2.1:7
const std::string kRtAs4 = " 0202 00010203 0009 ";     // 66051:9
const std::string kSourceAs = " 0009 fde9 00000000 ";  // 65001:0
const std::string kImport = " 010b c0a80a0b 0001 ";    // 192.168.10.11:1
const std::string kSegmented = " 0112 c0a80a0b 0000 "; // 192.168.10.11
const std::string kRtOdd = " 4302 01020304 0506 ";     // sub-type 2 of a type that is no route target on the wire
const std::string kOther = " 0803 01020304 0506 ";     // of no type that has a meaning here

using List = std::vector<Bytes>; // elements in host order

inline List elements(const Bytes &list)
{
    List out;
    for (std::size_t at = 0; at + 8 <= list.size(); at += 8) {
        out.push_back(slice(list, at, 8));
    }
    return out;
}

inline Bytes joined(const List &list)
{
    Bytes out;
    for (const Bytes &element : list) {
        out = out + element;
    }
    return out;
}

// Sub-type, type, then the value field by field, each from its most significant octet on.
inline Bytes weight(const Bytes &element)
{
    const std::ptrdiff_t first = element[1] == 1 || element[1] == 2 ? 4 : 2;
    Bytes out = element;
    std::reverse(out.begin() + 2, out.begin() + 2 + first);
    std::reverse(out.begin() + 2 + first, out.end());
    return out;
}

// Sorted and without repeats.
inline Bytes cleaned(List list)
{
    std::sort(list.begin(), list.end(), [](const Bytes &a, const Bytes &b) { return weight(a) < weight(b); });
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return joined(list);
}

} // namespace qel::test
