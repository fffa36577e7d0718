// What the MDT family costs: its one route, communities, messages, import, policy, compares and texts.
#include "bench/mdt_vpnv4mcast_lines.h"

#include "mdt/qel_mdt.h"

namespace qel::bench {
namespace {

constexpr host::FamilyInfo kMdt{host::FamilyKind::mdt, 1, 66, "mdt", "MDT", QEL_MDT_Construct, QEL_MDT_Destruct};
constexpr std::string_view kPrefix = "0000006400000005 0a000001 ef010101";

SubjectPtr subject(std::size_t targets, std::size_t others)
{
    Bytes wire = bytes(kPrefix);
    wire.insert(wire.begin(), 0x80);
    return std::make_shared<Subject>(kMdt, 14, wire, targets, others);
}

void add_messages(std::vector<Line> &all, const SubjectPtr &route)
{
    const QEL_FAMILY_DESC_S &desc = route->desc();
    add_shared_messages(all, bytes(kPrefix), route);
    add_message_lines(all, {"non-key message", 34, desc.pfParseAttrMsg, desc.pfFormatAttrMsg, {route->non_key()}},
                      bytes("0001 0008 0001 0004 ef010101"), route);
    add_message_lines(all, {"share group message", kTargetMessage, desc.pfParseHaMsg, nullptr, {route->key().first(4)}},
                      bytes("ef010101"), route);
}

std::vector<Line> lines()
{
    std::vector<Line> all;
    const SubjectPtr two = subject(2, 0);
    const SubjectPtr eight = subject(8, 0);
    add_route_lines(all, "route", two);
    for (const std::size_t count : {1U, 8U, 64U}) {
        add_list_lines(all, subject(count, 0));
    }
    add_messages(all, two);
    add_walk_line(all, "share group, no list", subject(0, 0), 1, 4);
    add_walk_line(all, "share group, 2 others", subject(0, 2), 1, 4);
    add_walk_line(all, "1 target", subject(1, 0), 1, 8);
    add_walk_line(all, "4 targets", subject(4, 0), 4, 8);
    add_match_line(all, "rd", two, 0x800, 12);
    add_match_line(all, "group", two, 0x80000, 8);
    add_match_line(all, "everything, 2 communities", two, 0x80804, 40);
    add_match_line(all, "everything, 8 communities", eight, 0x80804, 88);
    for (const ActionForm &form : kActions) {
        add_action_line(all, form, subject(form.targets, form.others));
    }
    add_compare_line(all, "rd", two, 1, two->rd());
    add_compare_line(all, "key", two, 2, two->key());
    add_compare_line(all, "non-key", two, 4, two->non_key());
    add_compare_line(all, "list of 8", two, 8, eight->list());
    add_compare_line(all, "target", two, 16, two->list().first(kElement));
    add_compare_line(all, "share group", two, 16, two->key().first(4));
    add_text_line(all, "route", two, 1, true, [](char *out, std::size_t size) {
        return std::snprintf(out, size, "<%u:%u>, %u.%u.%u.%u/32, Group Address: %u.%u.%u.%u ", 100U, 5U, 10U, 0U, 0U,
                             1U, 239U, 1U, 1U, 1U);
    });
    add_community_text(all, two);
    add_text_line(all, "share group", two, 8, false, [](char *out, std::size_t size) {
        return std::snprintf(out, size, "Share Group: %u.%u.%u.%u", 239U, 1U, 1U, 1U);
    });
    return all;
}

} // namespace
} // namespace qel::bench

int main(int argc, char **argv)
{
    return qel::bench::run(argc, argv, qel::bench::lines());
}
