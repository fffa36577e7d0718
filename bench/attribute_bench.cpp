// What one path attribute of a route costs in the library, beside the floor: the buffers that the contract asks for,
// allocated, cleared, filled and given back, and a text formed in one call.
#include "bench/samples.h"
#include "bench/table.h"

#include "host/family.h"
#include "host/route.h"
#include "platform/bounds.h"
#include "qel_byteorder.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::bench {
namespace {

// How the library treats an attribute: the floor has the same buffers.
struct Codec {
    std::uint32_t type;
    std::uint32_t text_type; // of pfData2Str
    std::size_t work;        // bytes of the parser's work buffer, 0: those of the attribute
    std::size_t text_buffer; // cleared for each text
    bool copied_to_write;    // through a buffer of its own
    std::size_t element;     // bytes of a list's element, 0: no list
};

constexpr Codec kCommunities{16, 2, 0, 256, true, 8};
constexpr Codec kIpv6Communities{25, 256, 0, 512, true, 20};
constexpr Codec kTunnel{22, 4, 268, 512, false, 0};
constexpr Codec kPrefixSid{40, 512, 48, 512, false, 0};
constexpr Codec kMsid{66, 1024, 48, 512, false, 0};

struct AttributeForm {
    std::string name;
    Codec codec;
    Bytes wire;
};

enum class Order { sorted, reversed, random };
constexpr std::array kOrders{std::pair{Order::sorted, "sorted"}, std::pair{Order::reversed, "reversed"},
                             std::pair{Order::random, "random"}};
constexpr std::array<std::uint32_t, 4> kCounts{1, 8, 64, 512};

// Route targets that differ, in an order that is the same in each run.
Bytes communities(std::uint32_t count, Order order)
{
    std::vector<std::uint32_t> numbers(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        numbers[i] = order == Order::reversed ? count - i : i + 1;
    }
    if (order == Order::random) {
        std::uint32_t state = 1;
        for (std::uint32_t i = count; i > 1; --i) {
            state = state * 1664525 + 1013904223;
            std::swap(numbers[i - 1], numbers[(state >> 8) % i]);
        }
    }
    const Bytes element = bytes("0002 0064 00000000");
    Bytes list;
    for (const std::uint32_t number : numbers) {
        list.insert(list.end(), element.begin(), element.end());
        QEL_StoreBe32(&list[list.size() - sizeof(number)], number);
    }
    return list;
}

std::string list_name(std::uint32_t count, std::string_view order)
{
    return count == 1 ? "1 community" : fmt::format("{} communities {}", count, order);
}

std::vector<AttributeForm> make_forms()
{
    std::vector<AttributeForm> forms;
    for (const std::uint32_t count : kCounts) {
        for (const auto &[order, name] : kOrders) {
            if (count > 1 || order == Order::sorted) {
                forms.push_back({list_name(count, name), kCommunities, communities(count, order)});
            }
        }
    }
    const Bytes target = bytes("000b 20010db8000000000000000000000001 0007");
    Bytes targets;
    for (std::uint8_t i = 8; i > 0; --i) {
        targets.insert(targets.end(), target.begin(), target.end());
        targets.back() = i;
    }
    forms.push_back({"1 ipv6 community", kIpv6Communities, target});
    forms.push_back({"8 ipv6 communities reversed", kIpv6Communities, targets});
    forms.push_back({"pmsi rsvp-te", kTunnel, bytes("01 01 000120 00000005 0000 0011 c0000201")});
    forms.push_back({"pmsi mldp", kTunnel, bytes("00 02 000000 06 0001 04 c0000201 0007 01 0004 000003e9")});
    forms.push_back({"pmsi bier ipv4", kTunnel, bytes("01 0b 003eb0 01 0041 c0000201")});
    forms.push_back({"pmsi bier ipv6", kTunnel, bytes("01 0b 003eb0 01 0041 20010db8000000000000000000000001")});
    forms.push_back(
        {"prefix-sid", kPrefixSid, bytes("05 0019 00 01 0015 00 20010db8001200000000000000000001 00 0045 00")});
    forms.push_back({"msid", kMsid, bytes("01 0011 00 20010db8001200000000000000000001")});
    forms.push_back(
        {"msid structure", kMsid, bytes("01 0019 00 20010db8001200000000000000000001 01 0005 00 40 10 0000")});
    return forms;
}

// One attribute, parsed once: what the operations take and what the floors copy.
class Sample {
public:
    explicit Sample(const AttributeForm &form)
        : codec_(form.codec), wire_(form.wire), family_(*host::find_family(1, 5), kMemHandle), out_(wire_.size())
    {
        host::BlockPtr block = parse();
        const auto *start = reinterpret_cast<const std::uint8_t *>(block.get());
        section_.assign(start + block->usAttrOffset, start + block->usAttrOffset + block->usAttrLen);
        route_.add(std::move(block));
        if (format() != wire_.size() || display() == 0) {
            fail(form.name);
        }
        host::BlockPtr again = parse();
        if (again->usAttrLen != section_.size() || parse_floor() == nullptr) {
            fail(form.name);
        }
    }

    host::BlockPtr parse()
    {
        const std::uint8_t *cursor = wire_.data();
        QEL_ROUTE_BLOCK_S *block = nullptr;
        std::uint32_t more = 0;
        const std::uint32_t code = family_.desc().pfParsePkt(&cursor, static_cast<std::uint32_t>(wire_.size()), 0,
                                                             codec_.type, &block, &more, family_.ctx());
        if (code != QEL_OK || block == nullptr) [[unlikely]] {
            fail("an attribute is not taken");
        }
        return host::BlockPtr(block);
    }

    // A work buffer cleared and filled, a block cleared and filled from it; the work buffer goes.
    host::BlockPtr parse_floor() const
    {
        const std::size_t work_size = codec_.work != 0 ? codec_.work : wire_.size();
        const Buffer work = allocate(work_size);
        memset_s(work.get(), work_size, 0, work_size);
        memcpy_s(work.get(), work_size, wire_.data(), wire_.size());
        const std::size_t size = sizeof(QEL_ROUTE_BLOCK_S) + section_.size();
        Buffer block = allocate(size);
        memset_s(block.get(), size, 0, size);
        memcpy_s(block.get() + sizeof(QEL_ROUTE_BLOCK_S), section_.size(), section_.data(), section_.size());
        void *mem = block.release();
        return host::BlockPtr(static_cast<QEL_ROUTE_BLOCK_S *>(mem));
    }

    std::size_t format()
    {
        std::uint8_t *cursor = out_.data();
        if (family_.desc().pfFormatPkt(&route_.mutable_info(), codec_.type, &cursor,
                                       static_cast<std::uint32_t>(out_.size()), family_.ctx()) != QEL_OK) [[unlikely]] {
            fail("an attribute is not written");
        }
        return static_cast<std::size_t>(cursor - out_.data());
    }

    std::size_t format_floor()
    {
        if (!codec_.copied_to_write) {
            memcpy_s(out_.data(), out_.size(), wire_.data(), wire_.size());
            return wire_.size();
        }
        const Buffer copy = allocate(wire_.size());
        memcpy_s(copy.get(), wire_.size(), wire_.data(), wire_.size());
        memcpy_s(out_.data(), out_.size(), copy.get(), wire_.size());
        return wire_.size();
    }

    // All texts of the attribute: as many calls as a list has elements.
    std::size_t display()
    {
        std::size_t texts = 0;
        std::uint32_t index = 0;
        std::uint32_t more = 0;
        do {
            if (family_.desc().pfData2Str(&route_.info(), codec_.text_type, text_.data(),
                                          static_cast<std::uint32_t>(text_.size()), &index, &more,
                                          family_.ctx()) != QEL_OK) [[unlikely]] {
                fail("an attribute is not shown");
            }
            texts += text_[0] != '\0' ? 1U : 0U;
        } while (more == 1);
        return texts;
    }

    // As many texts of the last one's length, each formed in a cleared buffer and copied out.
    std::size_t display_floor()
    {
        const std::size_t texts = codec_.element != 0 ? section_.size() / codec_.element : 1;
        std::array<char, 512> buffer;
        for (std::size_t i = 0; i < texts; ++i) {
            memset_s(buffer.data(), buffer.size(), 0, codec_.text_buffer);
            const std::int32_t length = snprintf_truncated_s(buffer.data(), codec_.text_buffer, "%s", text_.data());
            memcpy_s(shown_.data(), shown_.size(), buffer.data(), static_cast<std::size_t>(length) + 1);
            benchmark::ClobberMemory();
        }
        return texts;
    }

private:
    Codec codec_;
    Bytes wire_;
    host::Family family_;
    host::Route route_;
    Bytes section_;
    Bytes out_;
    std::array<char, 512> text_{};
    std::array<char, 512> shown_{};
};

template <auto kMember> std::function<void(benchmark::State &)> member(const AttributeForm &form)
{
    return [&form](benchmark::State &state) {
        Sample sample(form);
        measure(state, [&] { return (sample.*kMember)(); });
    };
}

const std::vector<AttributeForm> &forms()
{
    static const std::vector<AttributeForm> all = make_forms();
    return all;
}

// A sorted route holds the same list whatever order it came in.
bool came_sorted(const AttributeForm &form)
{
    return !form.name.ends_with("reversed") && !form.name.ends_with("random");
}

std::vector<Line> lines()
{
    std::vector<Line> all;
    for (const AttributeForm &form : forms()) {
        all.push_back({"parse", form.name, member<&Sample::parse>(form), member<&Sample::parse_floor>(form)});
    }
    for (const AttributeForm &form : forms()) {
        if (came_sorted(form)) {
            all.push_back({"format", form.name, member<&Sample::format>(form), member<&Sample::format_floor>(form)});
            all.push_back({"display", form.name, member<&Sample::display>(form), member<&Sample::display_floor>(form)});
        }
    }
    return all;
}

// What the exchange sort makes of the length and the order of a list.
void print_curve(const Results &results)
{
    fmt::print("\n{:<12} {:>10} {:>12} {:>12} {:>12}   ns to parse a list\n", "elements", "compares", "sorted",
               "reversed", "random");
    for (const std::uint32_t count : kCounts) {
        fmt::print("{:<12} {:>10}", count, count * (count - 1) / 2);
        for (const auto &[order, name] : kOrders) {
            fmt::print(" {:>12.1f}", results.whole("parse", list_name(count, name)));
        }
        fmt::print("\n");
    }
}

} // namespace
} // namespace qel::bench

int main(int argc, char **argv)
{
    return qel::bench::run(argc, argv, qel::bench::lines(), qel::bench::print_curve);
}
