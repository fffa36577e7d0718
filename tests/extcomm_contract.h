// The extended communities attribute of the families that log nothing: reading, writing, byte order, sorting and
// clean-up, the same calls and the same lists for each.
#pragma once

#include "communities.h"
#include "exchange_sort.h"
#include "family_cases.h"

#include <initializer_list>
#include <random>

namespace qel::test {

// Calls: kConstruct, kDestruct, kMalloc, kFree; kParse, kFormat, kCheckLen, kToHost, kToWire, kSort, kRemoveRepeats,
// kCleanUp; kSource (the file that reports).
template <class Calls> class ExtCommContract : public FamilyTest<Calls> {
protected:
    using typename FamilyTest<Calls>::LentBuffer;
    using FamilyTest<Calls>::ctx_;
    using FamilyTest<Calls>::lend_if;

    struct Parsed : Made {
        std::ptrdiff_t moved = 0;
        std::uint32_t more = kUnwritten;
    };

    static Parsed parse(const Bytes &wire, QEL_FAMILY_CTX_S *ctx)
    {
        const OddBytes attribute(wire);
        const std::uint8_t *cursor = attribute.data();
        std::uint32_t more = kUnwritten;
        Parsed got{make([&](auto result) { return Calls::kParse(&cursor, attribute.size(), result, &more, ctx); })};
        got.moved = cursor - attribute.data();
        got.more = more;
        EXPECT_EQ(attribute.bytes(), wire);
        return got;
    }

    static void expect_list(const Parsed &got, const std::string &want, std::size_t moved)
    {
        expect_made(got, {.list = host_list(want)});
        EXPECT_EQ(got.moved, static_cast<std::ptrdiff_t>(moved));
        EXPECT_EQ(got.more, 0U);
    }

    static Written format(QEL_ROUTE_INFO_S &route, std::size_t room, QEL_FAMILY_CTX_S *ctx)
    {
        return write_into(
            room, [&](auto cursor) { return Calls::kFormat(&route, cursor, static_cast<std::uint32_t>(room), ctx); });
    }

    void lengths_are_whole_elements()
    {
        for (std::uint32_t length = 0; length <= 40; ++length) {
            const std::uint32_t want = length == 0 ? 0x20001U : length % 8 == 0 ? 0U : 0x30009U;
            EXPECT_EQ(Calls::kCheckLen(length), want) << length;
            if (want != 0) {
                const Parsed got = parse(Bytes(length, 2), ctx_);
                expect_not_made(got, want);
                EXPECT_EQ(got.moved, 0);
                EXPECT_EQ(got.more, kUnwritten);
                EXPECT_EQ(got.allocations, 0U);
            }
        }
        EXPECT_EQ(Calls::kCheckLen(0xfff8), 0U);
        EXPECT_EQ(Calls::kCheckLen(0xffffffff), 0x30009U);
        EXPECT_EQ(Calls::kCheckLen(0xfffffff8), 0U);
        EXPECT_EQ(Calls::kCheckLen(0x10000), 0U);
    }

    void a_list_is_read_into_host_order_sorted_and_without_repeats()
    {
        expect_made(parse(bytes(kRt1), ctx_), {.list = bytes("0200 e9fd 64000000")});
        expect_made(parse(bytes(kRt4), ctx_), {.list = bytes("0201 010200c0 0700")});
        expect_made(parse(bytes(kSourceAs), ctx_), {.list = bytes("0900 e9fd 00000000")});
        expect_made(parse(bytes(kOther), ctx_), {.list = bytes("0308 04030201 0605")});
        expect_list(parse(bytes(kRtAs4 + kRt1 + kSourceAs), ctx_), kRt1 + kRtAs4 + kSourceAs, 24);
        expect_list(parse(bytes(kImport + kRt2 + kRt4 + kRt1 + kOther), ctx_), kRt1 + kRt2 + kRt4 + kOther + kImport,
                    40);
        expect_list(parse(bytes(kRt1 + kRt1), ctx_), kRt1, 16);
        expect_list(parse(bytes(kRt1 + kSourceAs + kRt1 + kSourceAs + kRt1), ctx_), kRt1 + kSourceAs, 40);
    }

    void each_allocation_of_the_reader_fails_once()
    {
        for (const bool lent : {false, true}) {
            const auto keep = lend_if(lent, ctx_);
            const std::vector<std::uint32_t> codes(lent ? 3 : 2, kNoBlock); // work, scratch unless it is inline, block
            expect_each_allocation_fails(codes, [&] {
                Parsed got = parse(bytes(kRt2 + kRt1), ctx_);
                EXPECT_EQ(got.moved, got.code == 0 ? 16 : 0);
                EXPECT_EQ(got.more, got.code == 0 ? 0U : kUnwritten);
                return got;
            });
        }
    }

    void reading_refuses_missing_arguments_with_one_report()
    {
        const OddBytes wire(bytes(kRt1));
        for (const std::uint32_t length : {0U, 7U, 8U}) {
            expect_null_arguments_refused(4, Calls::kSource, [&](unsigned nulls) {
                const std::uint8_t *cursor = wire.data();
                QEL_ROUTE_BLOCK_S *result = block_marker();
                std::uint32_t more = kUnwritten;
                const std::uint32_t code = Calls::kParse(unless(nulls, 0, &cursor), length, unless(nulls, 1, &result),
                                                         unless(nulls, 2, &more), unless(nulls, 3, ctx_));
                EXPECT_EQ(cursor, wire.data());
                EXPECT_EQ(result, block_marker());
                EXPECT_EQ(more, kUnwritten);
                return code;
            });
        }
    }

    void a_list_goes_out_in_wire_order_as_it_stands()
    {
        const std::string wire = kSourceAs + kRt4 + kRt1 + kRt1 + kOther;
        Held held({.list = host_list(wire)});
        for (const std::size_t room : {40U, 41U, 60U}) {
            expect_written(format(held.info, room, ctx_), bytes(wire));
        }
        for (std::size_t room = 0; room < 40; ++room) {
            expect_not_written(format(held.info, room, ctx_), kNoRoom);
        }
    }

    void no_list_writes_nothing()
    {
        Held held({});
        held.info.uiExtCommLen = 8;
        expect_written(format(held.info, 0, ctx_), {});
        expect_written(format(held.info, 8, ctx_), {});
    }

    void the_odd_tail_of_a_list_goes_out_as_it_stands()
    {
        Held held({.list = host_list(kRt1) + bytes("0a0b0c")});
        expect_written(format(held.info, 12, ctx_), bytes(kRt1 + "0a0b0c"));
    }

    void the_list_to_write_has_a_length_of_16_bits()
    {
        Held held({.list = host_list(kRt1)});
        held.info.uiExtCommLen = 0x10008;
        expect_written(format(held.info, 8, ctx_), bytes(kRt1));
    }

    void the_copy_to_write_fails_once()
    {
        Held held({.list = host_list(kRt1)});
        const LeakCheck leaks;
        const platform::FailAllocation failure(0);
        expect_not_written(format(held.info, 8, ctx_), kOutOfMemory, 1);
        EXPECT_TRUE(failure.fired());
    }

    void writing_refuses_missing_arguments_with_one_report()
    {
        for (const Sections &sections : {Sections{.list = host_list(kRt1)}, Sections{}}) {
            Held held(sections);
            for (const std::uint32_t room : {0U, 8U}) {
                expect_null_arguments_refused(3, Calls::kSource, [&](unsigned nulls) {
                    std::array<std::uint8_t, 8> out{};
                    std::uint8_t *cursor = out.data();
                    const std::uint32_t code = Calls::kFormat(unless(nulls, 0, &held.info), unless(nulls, 1, &cursor),
                                                              room, unless(nulls, 2, ctx_));
                    EXPECT_EQ(cursor, out.data());
                    return code;
                });
            }
        }
    }

    void only_the_types_0002_and_0009_are_turned_as_as_and_number()
    {
        for (unsigned type = 0; type <= 0xffff; ++type) {
            Bytes wire = bytes("0000 010203040506");
            wire[0] = static_cast<std::uint8_t>(type >> 8);
            wire[1] = static_cast<std::uint8_t>(type);
            OddBytes list(wire);
            Calls::kToHost(list.as<QEL_EXTCOMM_S>(), 1);
            const bool as2 = type == 0x0002 || type == 0x0009;
            const Bytes want = Bytes{wire[1], wire[0]} + bytes(as2 ? "0201 06050403" : "04030201 0605");
            ASSERT_EQ(list.bytes(), want) << type;
            Calls::kToWire(list.as<QEL_EXTCOMM_S>(), 1);
            ASSERT_EQ(list.bytes(), wire) << type;
        }
    }

    void only_the_counted_elements_are_turned()
    {
        const Bytes wire = bytes(kRt1 + kRt4 + kRt2);
        for (std::uint32_t count = 0; count <= 3; ++count) {
            OddBytes list(wire);
            Calls::kToHost(list.as<QEL_EXTCOMM_S>(), count);
            EXPECT_EQ(list.bytes(), host_list(slice(wire, 0, count * 8)) + slice(wire, count * 8, 24 - count * 8));
            Calls::kToWire(list.as<QEL_EXTCOMM_S>(), count);
            EXPECT_EQ(list.bytes(), wire);
        }
    }

    void turning_no_list_is_reported()
    {
        const platform::Recorder recorder;
        Calls::kToHost(nullptr, 1);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        Calls::kToWire(nullptr, 1);
        EXPECT_EQ(recorder.asserts().size(), 2U);
    }

    void sorting_takes_its_scratch_for_no_element_and_for_one_too()
    {
        const LentBuffer lent(ctx_);
        OddBytes list(host_list(kSourceAs + kRt4));
        for (const auto count : std::initializer_list<std::uint16_t>{0, 1, 2}) {
            const std::uint64_t before = allocations();
            EXPECT_EQ(Calls::kSort(list.as<QEL_EXTCOMM_S>(), count, ctx_), 0U);
            EXPECT_EQ(allocations(), before + 1);
            EXPECT_EQ(list.bytes(), count < 2 ? host_list(kSourceAs + kRt4) : host_list(kRt4 + kSourceAs));
        }
    }

    void sorting_without_scratch_is_reported()
    {
        const LentBuffer lent(ctx_);
        OddBytes list(host_list(kSourceAs + kRt4));
        const platform::Recorder recorder;
        const platform::FailAllocation failure(0);
        EXPECT_EQ(Calls::kSort(list.as<QEL_EXTCOMM_S>(), 2, ctx_), kNoBlock);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(list.bytes(), host_list(kSourceAs + kRt4));
    }

    void repeats_of_a_sorted_list_are_dropped()
    {
        const struct {
            std::string list;
            std::string kept;
        } rows[] = {
            {kRt1, kRt1},
            {kRt1 + kRt2, kRt1 + kRt2},
            {kRt1 + kRt1, kRt1},
            {kRt1 + kRt1 + kRt2 + kRt2 + kRt2 + kSourceAs, kRt1 + kRt2 + kSourceAs},
            {kRt1 + kRt2 + kRt2 + kSourceAs, kRt1 + kRt2 + kSourceAs},
            {kRt1 + kRt2 + kRt1, kRt1 + kRt2 + kRt1}, // not sorted: only neighbours are looked at
            {kRt1 + "0002 fde9 00000164", kRt1 + "0002 fde9 00000164"},
        };
        const platform::Recorder recorder;
        for (const auto &row : rows) {
            OddBytes list(host_list(row.list));
            auto count = static_cast<std::uint16_t>(list.size() / 8);
            EXPECT_EQ(Calls::kRemoveRepeats(list.as<QEL_EXTCOMM_S>(), &count, ctx_), 0U);
            const Bytes kept = host_list(row.kept);
            EXPECT_EQ(count, kept.size() / 8);
            EXPECT_EQ(slice(list.bytes(), 0, kept.size()), kept);
        }
        EXPECT_TRUE(recorder.asserts().empty());
    }

    void an_empty_list_counts_as_one_element_afterwards()
    {
        OddBytes list(host_list(kRt1));
        for (const auto operation : {Calls::kRemoveRepeats, Calls::kCleanUp}) {
            std::uint16_t count = 0;
            EXPECT_EQ(operation(list.as<QEL_EXTCOMM_S>(), &count, ctx_), 0U);
            EXPECT_EQ(count, 1U);
            EXPECT_EQ(list.bytes(), host_list(kRt1));
        }
    }

    void clean_up_sorts_and_drops_repeats()
    {
        const platform::Recorder recorder;
        OddBytes list(host_list(kImport + kRt1 + kSourceAs + kRt1 + kImport));
        std::uint16_t count = 5;
        EXPECT_EQ(Calls::kCleanUp(list.as<QEL_EXTCOMM_S>(), &count, ctx_), 0U);
        EXPECT_EQ(count, 3U);
        EXPECT_EQ(slice(list.bytes(), 0, 24), host_list(kRt1 + kSourceAs + kImport));
        EXPECT_TRUE(recorder.asserts().empty());
    }

    void clean_up_returns_the_failure_of_the_sort()
    {
        const LentBuffer lent(ctx_);
        OddBytes list(host_list(kRt1 + kRt1));
        std::uint16_t count = 2;
        const platform::FailAllocation failure(0);
        EXPECT_EQ(Calls::kCleanUp(list.as<QEL_EXTCOMM_S>(), &count, ctx_), kNoBlock);
        EXPECT_EQ(count, 2U);
    }

    void list_operations_refuse_missing_arguments_with_one_report()
    {
        OddBytes list(host_list(kRt2 + kRt1));
        auto *elements = list.as<QEL_EXTCOMM_S>();
        for (const auto length : std::initializer_list<std::uint16_t>{0, 2}) {
            expect_null_arguments_refused(2, Calls::kSource, [&](unsigned nulls) {
                return Calls::kSort(unless(nulls, 0, elements), length, unless(nulls, 1, ctx_));
            });
            for (const auto operation : {Calls::kRemoveRepeats, Calls::kCleanUp}) {
                expect_null_arguments_refused(3, Calls::kSource, [&](unsigned nulls) {
                    std::uint16_t count = length;
                    const std::uint32_t code =
                        operation(unless(nulls, 0, elements), unless(nulls, 1, &count), unless(nulls, 2, ctx_));
                    EXPECT_EQ(count, length);
                    return code;
                });
            }
        }
        EXPECT_EQ(list.bytes(), host_list(kRt2 + kRt1));
    }

    // Lists out of `seed`: a sort of their fields, each from its high octet on, tells what must come out.
    void random_lists_come_out_as_a_sort_of_their_fields_gives_them(std::uint32_t seed)
    {
        std::mt19937 random(seed);
        const auto pick = [&](std::initializer_list<unsigned> from) {
            return static_cast<std::uint8_t>(from.begin()[random() % from.size()]);
        };
        for (int round = 0; round < 200; ++round) {
            List wire(1 + random() % 40);
            for (Bytes &element : wire) {
                element = {pick({0, 1, 2, 3, 0x40, 0x80, 0xff}),
                           pick({2, 2, 3, 9, 10, 11}),
                           pick({0, 1}),
                           0,
                           pick({0, 9}),
                           0,
                           pick({0, 1, 255}),
                           pick({0, 1})};
            }
            expect_made(parse(joined(wire), ctx_), {.list = cleaned(elements(host_list(joined(wire))))});
        }
    }

    // Lists out of `seed`, at every address.
    void any_list_is_sorted_as_exchanges_sort_it(std::uint32_t seed)
    {
        const platform::Recorder recorder;
        const auto sort = [this](std::uint8_t *list, std::uint16_t count) {
            EXPECT_EQ(Calls::kSort(reinterpret_cast<QEL_EXTCOMM_S *>(list), count, ctx_), 0U);
        };
        SortsLikeExchanges lists(8, seed);
        lists.check(sort);
        lists.check_every_type(sort);
        EXPECT_TRUE(recorder.asserts().empty());
    }

    // What the sort must make of the whole list, and of its first four elements alone.
    void sorting_keeps_repeats(const std::string &list, const std::string &first_four, const std::string &whole)
    {
        const platform::Recorder recorder;
        OddBytes sorted(host_list(list));
        EXPECT_EQ(Calls::kSort(sorted.as<QEL_EXTCOMM_S>(), 4, ctx_), 0U);
        EXPECT_EQ(sorted.bytes(), host_list(first_four));
        EXPECT_EQ(Calls::kSort(sorted.as<QEL_EXTCOMM_S>(), 6, ctx_), 0U);
        EXPECT_EQ(sorted.bytes(), host_list(whole));
        EXPECT_TRUE(recorder.asserts().empty());
    }
};

} // namespace qel::test
