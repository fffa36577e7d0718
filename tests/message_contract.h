// Values of messages of the families that log nothing: what route prefixes, import targets and community lists have in
// common, whatever the family's route looks like.
#pragma once

#include "communities.h"
#include "family_cases.h"

#include <array>

namespace qel::test {

// Refused whatever the length is, with the value, the result and the context missing in every combination.
inline void expect_reader_refuses(MessageReader reader, std::string_view source, const Bytes &value,
                                  QEL_FAMILY_CTX_S *ctx)
{
    const Trusted message(value);
    for (const std::uint32_t length : {0U, 3U, message.size()}) {
        SCOPED_TRACE(length);
        expect_null_arguments_refused(3, source, [&](unsigned nulls) {
            QEL_ROUTE_BLOCK_S *result = block_marker();
            const std::uint32_t code =
                reader(unless(nulls, 0, message.data()), length, unless(nulls, 1, &result), unless(nulls, 2, ctx));
            EXPECT_EQ(result, block_marker());
            return code;
        });
    }
}

// The first `count` of route, cursor and context are looked at, with and without a section to write.
inline void expect_writer_refuses(MessageWriter writer, std::string_view source, unsigned count, const Sections &full,
                                  QEL_FAMILY_CTX_S *ctx)
{
    for (const Sections &sections : {full, Sections{}}) {
        const Held held(sections);
        for (const std::uint32_t room : {0U, 40U}) {
            expect_null_arguments_refused(count, source, [&](unsigned nulls) {
                std::array<std::uint8_t, 40> out{};
                std::uint8_t *cursor = out.data();
                const std::uint32_t code =
                    writer(unless(nulls, 0, &held.info), unless(nulls, 1, &cursor), room, unless(nulls, 2, ctx));
                EXPECT_EQ(cursor, out.data());
                EXPECT_EQ(out, (std::array<std::uint8_t, 40>{}));
                return code;
            });
        }
    }
}

// Calls: kConstruct, kDestruct, kMalloc, kFree; kParsePrefix, kFormatTarget, kParseList, kFormatList.
template <class Calls> class MessageContract : public FamilyTest<Calls> {
protected:
    using typename FamilyTest<Calls>::LentBuffer;
    using FamilyTest<Calls>::ctx_;

    void a_prefix_with_an_rd_type_above_two_is_refused(const Bytes &prefix)
    {
        for (const std::string_view type : {"0003", "0100", "ffff"}) {
            const Made got = read_message(Calls::kParsePrefix, bytes(type) + slice(prefix, 2, 14), ctx_);
            expect_not_made(got, kRefusedRoute);
            EXPECT_EQ(got.allocations, 0U);
        }
    }

    void the_prefixs_block_fails_once(const Bytes &prefix)
    {
        expect_each_allocation_fails({kNoBlock}, [&] { return read_message(Calls::kParsePrefix, prefix, ctx_); });
    }

    void no_cross_value_writes_nothing_whatever_the_room()
    {
        Held held({});
        held.info.uiCrossLen = 8;
        expect_written(write_message(Calls::kFormatTarget, held.info, 0, ctx_), {});
        expect_written(write_message(Calls::kFormatTarget, held.info, 8, nullptr), {});
    }

    void a_list_comes_to_host_order_as_it_stands()
    {
        for (const std::string &wire : {kRt1, kSourceAs + kRt4 + kRt1, kRt1 + kRt1, kRt4 + kRt1 + kRt4}) {
            expect_made(read_message(Calls::kParseList, bytes(wire), ctx_), {.list = host_list(wire)});
        }
        Bytes many;
        for (int i = 0; i < 40; ++i) { // beyond the inline buffer
            many = many + bytes(kRt4);
        }
        expect_made(read_message(Calls::kParseList, many, ctx_), {.list = host_list(many)});
    }

    void the_odd_tail_of_a_list_is_taken_over_unswapped()
    {
        for (std::size_t tail = 1; tail <= 7; ++tail) {
            const Bytes wire = bytes(kRt4 + kRt1) + slice(bytes("0002fde9010203"), 0, tail);
            expect_made(read_message(Calls::kParseList, wire, ctx_), {.list = host_list(wire)});
        }
    }

    void less_than_one_element_is_refused()
    {
        for (std::size_t length = 0; length <= 7; ++length) {
            const Made got = read_message(Calls::kParseList, Bytes(length, 2), ctx_);
            expect_not_made(got, kBadCommunityTlv);
            EXPECT_EQ(got.allocations, 0U);
        }
    }

    void a_lists_length_has_16_bits_in_the_block()
    {
        Bytes value = bytes(kRt1);
        value.resize(0x10008);
        expect_made(read_message(Calls::kParseList, value, ctx_), {.list = host_list(kRt1)});
    }

    void each_allocation_of_a_list_fails_once()
    {
        const auto read = [&] { return read_message(Calls::kParseList, bytes(kRt1), ctx_); };
        expect_each_allocation_fails({kNoBlock}, read);
        const LentBuffer lent(ctx_);
        expect_each_allocation_fails({kOutOfMemory, kNoBlock}, read);
    }

    void the_list_to_write_has_a_length_of_16_bits()
    {
        Held held({.list = host_list(kRt1)});
        held.info.uiExtCommLen = 0x10008;
        expect_written(write_message(Calls::kFormatList, held.info, 8, ctx_), bytes(kRt1));
    }

    void a_route_without_a_list_writes_nothing()
    {
        Held held({});
        held.info.uiExtCommLen = 8;
        for (const std::size_t room : {0U, 8U}) {
            expect_written(write_message(Calls::kFormatList, held.info, room, ctx_), {});
            expect_written(write_message(Calls::kFormatList, held.info, room, nullptr), {});
        }
    }

    void an_empty_list_is_answered_like_a_failed_allocation()
    {
        Held held({.list = host_list(kRt1)});
        for (const std::uint32_t length : {0U, 0x10000U}) {
            held.info.uiExtCommLen = length;
            expect_not_written(write_message(Calls::kFormatList, held.info, 8, ctx_), kOutOfMemory, 1);
        }
    }

    void the_scratch_of_a_list_to_write_fails_once()
    {
        const Held held({.list = host_list(kRt1)});
        const LentBuffer lent(ctx_);
        const LeakCheck leaks;
        {
            const platform::FailAllocation failure(0);
            expect_not_written(write_message(Calls::kFormatList, held.info, 8, ctx_), kOutOfMemory, 1);
            EXPECT_TRUE(failure.fired());
        }
        expect_written(write_message(Calls::kFormatList, held.info, 8, ctx_), bytes(kRt1));
    }

    void a_list_goes_out_in_wire_order()
    {
        const std::string wire = kSourceAs + kRt4 + kRt1 + kRt1;
        const Held held({.list = host_list(wire)});
        for (const std::size_t room : {32U, 33U, 50U}) {
            expect_written(write_message(Calls::kFormatList, held.info, room, ctx_), bytes(wire));
        }
        for (std::size_t room = 0; room < 32; ++room) {
            expect_not_written(write_message(Calls::kFormatList, held.info, room, ctx_), kNoRoom);
        }
        const Held odd({.list = host_list(kRt1) + bytes("010203")});
        expect_written(write_message(Calls::kFormatList, odd.info, 11, ctx_), bytes(kRt1 + "010203"));
        Bytes many;
        for (int i = 0; i < 40; ++i) {
            many = many + bytes(kRt4);
        }
        const Held long_list({.list = host_list(many)});
        expect_written(write_message(Calls::kFormatList, long_list.info, 320, ctx_), many);
    }
};

} // namespace qel::test
