// What the import side costs in the library: the walk over a route's cross values, the TLVs that carry them, their
// compare. The floor of a walk is an allocation, a copy and a free for each value, and for a rewritten one the scratch
// that it is rewritten in, cleared and filled.
#include "bench/samples.h"
#include "bench/table.h"

#include "host/family.h"
#include "host/route.h"
#include "platform/bounds.h"

#include <array>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::bench {
namespace {

using Octets = std::span<const std::uint8_t>;

constexpr std::uint32_t kCompareCross = 16;

constexpr std::size_t kJoinScratch = 20;
constexpr std::size_t kLeafScratch = 79;

// ---- the walk ----

struct WalkForm {
    std::string_view name;
    std::uint16_t afi;
    host::Component component;
    std::string_view route;
    std::string_view communities;
    std::string_view ipv6_communities;
    std::size_t scratch; // of each rewritten value; 0: values as they stand
    std::size_t values;
};

constexpr std::string_view kIntra = "01 0c 0000006400000001 c0000201";
constexpr std::string_view kIntraGlobal = "01 0c 0000000000000000 c0000201";
constexpr std::string_view kJoin = "07 16 0000006400000001 0000fbf4 20 0a010001 20 e8010101";
constexpr std::string_view kLeafIntra = "04 12 01 0c 0000006400000001 c0000201 c0000202";
constexpr std::string_view kLeafSpmsi = "04 1c 03 16 0000006400000001 20 0a010001 20 e8010101 c0000201 c0000202";
constexpr std::string_view kLeafSpmsi6 =
    "04 4c 03 3a 0000006400000001 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"
    " 20010db8000000000000000000000001 20010db8000000000000000000000002";
constexpr std::string_view kTarget = "0002006400000001";
constexpr std::string_view kTargets4 = "0002006400000001 0002006400000002 0002006400000003 0102c00002010001";
constexpr std::string_view kMixed4 = "0002006400000001 0009006400000000 010bc00002010001 0002006400000002";
constexpr std::string_view kTarget6 = "0002 20010db8000000000000000000000001 0007";

constexpr std::array kWalks{
    WalkForm{"marker, no target", 1, host::Component::mvrf, kIntraGlobal, "", "", 0, 1},
    WalkForm{"marker and 1 target", 1, host::Component::mvrf, kIntra, kTarget, "", 0, 2},
    WalkForm{"marker and 4 targets", 1, host::Component::mvrf, kIntra, kTargets4, "", 0, 5},
    WalkForm{"marker and 2 targets of 4", 1, host::Component::mvrf, kIntra, kMixed4, "", 0, 3},
    WalkForm{"marker and 1 ipv6 target", 1, host::Component::mvrf, kIntra, "", kTarget6, 0, 2},
    WalkForm{"join", 1, host::Component::mvrf, kJoin, kTarget, "", kJoinScratch, 1},
    WalkForm{"leaf of i-pmsi, mvrf", 1, host::Component::mvrf, kLeafIntra, kTarget, "", kLeafScratch, 1},
    WalkForm{"leaf of s-pmsi, mvrf", 1, host::Component::mvrf, kLeafSpmsi, kTarget, "", kLeafScratch, 1},
    WalkForm{"leaf of ipv6 s-pmsi, mvrf", 2, host::Component::mvrf, kLeafSpmsi6, "", kTarget6, kLeafScratch, 1},
    WalkForm{"leaf of s-pmsi, mvpn", 1, host::Component::mvpn, kLeafSpmsi, kTarget, "", kLeafScratch, 1},
};

class Walk {
public:
    explicit Walk(const WalkForm &form)
        : form_(form), family_(*host::find_family(form.afi, 5), kMemHandle, form.component),
          route_(read_block(family_, bytes(form.route), 14))
    {
        if (!form.communities.empty()) {
            route_.add(read_block(family_, bytes(form.communities), QEL_ATTR_TYPE_EXTCOMM));
        }
        if (!form.ipv6_communities.empty()) {
            route_.add(read_block(family_, bytes(form.ipv6_communities), QEL_ATTR_TYPE_IPV6_EXTCOMM));
        }
        std::uint32_t cursor = 0;
        for (Octets value = next(cursor); !value.empty(); value = next(cursor)) {
            values_.emplace_back(value.begin(), value.end());
        }
        if (values_.size() != form.values) {
            fail(form.name);
        }
    }

    // All values of the route, each freed at once.
    std::size_t whole()
    {
        std::size_t sum = 0;
        std::uint32_t cursor = 0;
        for (Octets value = next(cursor); !value.empty(); value = next(cursor)) {
            sum += value.size();
        }
        return sum;
    }

    std::size_t floor()
    {
        std::array<std::uint8_t, kLeafScratch> scratch;
        std::size_t sum = 0;
        for (const Bytes &value : values_) {
            const std::uint8_t *from = value.data();
            if (form_.scratch != 0) {
                memset_s(scratch.data(), scratch.size(), 0, form_.scratch);
                memcpy_s(scratch.data(), scratch.size(), value.data(), value.size());
                from = scratch.data();
            }
            const Buffer copy = allocate(value.size());
            memcpy_s(copy.get(), value.size(), from, value.size());
            benchmark::ClobberMemory();
            sum += value.size();
        }
        return sum;
    }

private:
    // The next value, which holds until the call after this one.
    Octets next(std::uint32_t &cursor)
    {
        std::uint8_t *cross = nullptr;
        std::uint32_t length = 0;
        std::uint32_t more = 0;
        if (family_.desc().pfGetCross(&route_.info(), &cross, &length, &cursor, &more, family_.ctx()) != QEL_OK)
            [[unlikely]] {
            fail(form_.name);
        }
        held_.reset(cross);
        return {cross, length};
    }

    const WalkForm &form_;
    host::Family family_;
    host::Route route_;
    Buffer held_;
    std::vector<Bytes> values_;
};

// ---- TLVs ----

struct TlvForm {
    std::string_view name;
    std::uint32_t type;
    std::size_t length; // of the value; its first octets are those of a route target
    std::size_t added;  // octets that the reader puts in front
    bool writable;
};

constexpr std::uint32_t kPlainTlv = 56;
constexpr std::uint32_t kVrfTlv = 157;
constexpr std::array kTlvs{
    TlvForm{"marker", kPlainTlv, 4, 0, true},
    TlvForm{"target", kPlainTlv, 8, 0, true},
    TlvForm{"ipv6 target", kPlainTlv, 20, 0, true},
    TlvForm{"private, 20 octets", kVrfTlv, 20, 1, false},
    TlvForm{"private, 54 octets", kVrfTlv, 54, 1, false},
    TlvForm{"private, 79 octets", kVrfTlv, 79, 0, true},
};

class Tlv {
public:
    explicit Tlv(const TlvForm &form) : form_(form), family_(*host::find_family(1, 5), kMemHandle)
    {
        const Bytes target = bytes("0002");
        std::copy(target.begin(), target.end(), value_.begin());
        route_.add(parse());
        if (route_.info().uiCrossLen != form.length + form.added || parse_floor() == nullptr ||
            format() != form.length + form.added) {
            fail(form.name);
        }
    }

    host::BlockPtr parse()
    {
        QEL_ROUTE_BLOCK_S *block = nullptr;
        if (family_.desc().pfParseMsg(value_.data(), static_cast<std::uint32_t>(form_.length), form_.type, &block,
                                      family_.ctx()) != QEL_OK) [[unlikely]] {
            fail(form_.name);
        }
        return host::BlockPtr(block);
    }

    // A value that is turned or completed passes through a local of its own; a block cleared and filled.
    host::BlockPtr parse_floor()
    {
        const std::size_t length = form_.length + form_.added;
        const std::uint8_t *from = value_.data();
        if (form_.type == kPlainTlv || form_.added != 0) {
            memset_s(local_.data(), local_.size(), 0, form_.type == kPlainTlv ? 20 : 55);
            memcpy_s(local_.data(), local_.size(), from, form_.length);
            from = local_.data();
        }
        const std::size_t size = sizeof(QEL_ROUTE_BLOCK_S) + length;
        Buffer block = allocate(size);
        memset_s(block.get(), size, 0, size);
        memcpy_s(block.get() + sizeof(QEL_ROUTE_BLOCK_S), length, from, length);
        void *mem = block.release();
        return host::BlockPtr(static_cast<QEL_ROUTE_BLOCK_S *>(mem));
    }

    std::size_t format()
    {
        std::uint8_t *cursor = out_.data();
        if (family_.desc().pfFormatMsg(&route_.info(), kPlainTlv, &cursor, static_cast<std::uint32_t>(out_.size()),
                                       family_.ctx()) != QEL_OK) [[unlikely]] {
            fail(form_.name);
        }
        return static_cast<std::size_t>(cursor - out_.data());
    }

    std::size_t format_floor()
    {
        const QEL_ROUTE_INFO_S &info = route_.info();
        const std::uint8_t *from = info.pucCross;
        if (form_.type == kPlainTlv && form_.length != 4) {
            memcpy_s(local_.data(), local_.size(), from, info.uiCrossLen);
            from = local_.data();
        }
        memcpy_s(out_.data(), out_.size(), from, info.uiCrossLen);
        return info.uiCrossLen;
    }

private:
    const TlvForm &form_;
    host::Family family_;
    std::array<std::uint8_t, 79> value_{};
    std::array<std::uint8_t, 79> local_{};
    std::array<std::uint8_t, 79> out_{};
    host::Route route_;
};

// ---- the compare ----

struct CompareForm {
    std::string_view name;
    std::size_t length;
    std::uint8_t stored; // type octet of a private IRT; 0: none
    std::uint8_t searched;
    bool open;  // the search key names no source and no group
    bool older; // the first value is the target of an older peer
};

constexpr std::array kCompares{
    CompareForm{"marker", 4, 0, 0, false, false},
    CompareForm{"target", 8, 0, 0, false, false},
    CompareForm{"ipv6 target", 20, 0, 0, false, false},
    CompareForm{"private, 21 octets", 21, 3, 1, false, false},
    CompareForm{"private, 31 octets", 31, 2, 0, false, false},
    CompareForm{"private, 31, any source", 31, 2, 0, true, false},
    CompareForm{"private, 79 octets", 79, 9, 6, false, false},
    CompareForm{"target of an older peer", 31, 2, 2, false, true},
};

// Two values that are found equal, where no difference ends the compare early.
class Compare {
public:
    explicit Compare(const CompareForm &form) : family_(*host::find_family(1, 5), kMemHandle), a_(form.length, 1)
    {
        b_ = a_;
        if (form.stored != form.searched || form.open || form.older) {
            a_[0] = form.stored;
            b_[0] = form.searched;
        }
        if (form.open) {
            std::fill(b_.begin() + 9, b_.begin() + 19, std::uint8_t{0});
        }
        if (form.older) {
            std::fill(b_.end() - 2, b_.end(), std::uint8_t{0});
            a_ = bytes("0b01 01010101 0000");
        }
        twin_ = b_;
        if (whole() != QEL_CMP_EQUAL || floor() != 0) {
            fail(form.name);
        }
    }

    std::int32_t whole() const
    {
        return family_.desc().pfCmpData(a_.data(), static_cast<std::uint32_t>(a_.size()), b_.data(),
                                        static_cast<std::uint32_t>(b_.size()), kCompareCross);
    }

    std::int32_t floor() const { return std::memcmp(b_.data(), twin_.data(), b_.size()); }

private:
    host::Family family_;
    Bytes a_;
    Bytes b_;
    Bytes twin_;
};

std::vector<Line> lines()
{
    std::vector<Line> all;
    for (const WalkForm &form : kWalks) {
        all.push_back(
            {"walk", std::string(form.name), member<Walk, &Walk::whole>(form), member<Walk, &Walk::floor>(form)});
    }
    for (const TlvForm &form : kTlvs) {
        all.push_back(
            {"parse", std::string(form.name), member<Tlv, &Tlv::parse>(form), member<Tlv, &Tlv::parse_floor>(form)});
    }
    for (const TlvForm &form : kTlvs) {
        if (form.writable) {
            all.push_back({"format", std::string(form.name), member<Tlv, &Tlv::format>(form),
                           member<Tlv, &Tlv::format_floor>(form)});
        }
    }
    for (const CompareForm &form : kCompares) {
        all.push_back({"compare", std::string(form.name), member<Compare, &Compare::whole>(form),
                       member<Compare, &Compare::floor>(form)});
    }
    return all;
}

} // namespace
} // namespace qel::bench

int main(int argc, char **argv)
{
    return qel::bench::run(argc, argv, qel::bench::lines());
}
