// What a dispatch table promises, checked alike for every table: no type stands twice, and its lookup finds the rows
// and nothing else, whatever it is asked.
#pragma once

#include "support.h"

#include <algorithm>
#include <vector>

namespace qel::test {

// Codes between the rows' and around and far beyond them, among them such as a narrower compare would take for a row's.
inline std::vector<std::uint32_t> codes_to_ask(const std::vector<std::uint32_t> &types)
{
    std::vector<std::uint32_t> codes{0x7fffffff, 0x80000000, 0xffffffff};
    for (std::uint32_t code = 0; code <= 0x1000; ++code) {
        codes.push_back(code);
    }
    for (const std::uint32_t type : types) {
        for (unsigned bit = 0; bit < 32; ++bit) {
            codes.push_back(type ^ UINT32_C(1) << bit);
        }
    }
    return codes;
}

template <std::size_t kRows>
void expect_lookup(const QEL_DISPATCH_ENTRY_S (&table)[kRows], const QEL_DISPATCH_ENTRY_S *(*lookup)(std::uint32_t))
{
    std::vector<std::uint32_t> types;
    for (const QEL_DISPATCH_ENTRY_S &entry : table) {
        EXPECT_EQ(std::count(types.begin(), types.end(), entry.uiType), 0) << entry.uiType << " stands twice";
        EXPECT_EQ(lookup(entry.uiType), &entry) << entry.uiType;
        EXPECT_NE(entry.pfParsePkt, nullptr) << entry.uiType;
        types.push_back(entry.uiType);
    }
    for (const std::uint32_t code : codes_to_ask(types)) {
        const bool known = std::find(types.begin(), types.end(), code) != types.end();
        EXPECT_EQ(lookup(code) != nullptr, known) << code;
    }
}

} // namespace qel::test
