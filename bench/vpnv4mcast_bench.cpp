// What the VPNv4 multicast family costs: a route with a label and without, communities, messages, import, policy,
// compares and texts.
#include "bench/mdt_vpnv4mcast_lines.h"

#include "vpnv4mcast/qel_vpnv4mcast.h"

namespace qel::bench {
namespace {

constexpr host::FamilyInfo kVpnv4Mcast{
    host::FamilyKind::vpnv4_mcast, 1, 129, "vpnv4-mcast", "VPNv4 multicast", QEL_VPNV4MCAST_Construct,
    QEL_VPNV4MCAST_Destruct};
constexpr std::uint32_t kLabelled = 14;
constexpr std::uint32_t kPlain = 256;

SubjectPtr subject(std::size_t targets, std::size_t others, std::uint32_t type = kLabelled,
                   std::string_view wire = "68 000640 0000006400000005 0a01")
{
    return std::make_shared<Subject>(kVpnv4Mcast, type, bytes(wire), targets, others);
}

void add_routes(std::vector<Line> &all)
{
    add_route_lines(all, "/16 with a label", subject(1, 0));
    add_route_lines(all, "/32 with a label", subject(1, 0, kLabelled, "78 000640 0000006400000005 0a010203"));
    add_route_lines(all, "/0 with a label", subject(1, 0, kLabelled, "58 000640 0000006400000005"));
    add_route_lines(all, "/16 without a label", subject(1, 0, kPlain, "50 0000006400000005 0a01"));
    add_route_lines(all, "/32 without a label", subject(1, 0, kPlain, "60 0000006400000005 0a010203"));
    for (const std::size_t count : {1U, 8U, 64U}) {
        add_list_lines(all, subject(count, 0));
    }
}

std::vector<Line> lines()
{
    std::vector<Line> all;
    const SubjectPtr two = subject(2, 0);
    const SubjectPtr eight = subject(8, 0);
    add_routes(all);
    add_shared_messages(all, bytes("0000006400000005 0a010000 00000010"), two);
    add_walk_line(all, "2 others", subject(0, 2), 0, 8);
    add_walk_line(all, "1 target", subject(1, 0), 1, 8);
    add_walk_line(all, "4 targets", subject(4, 0), 4, 8);
    add_match_line(all, "rd", two, 0x800, 12);
    add_match_line(all, "everything, 2 communities", two, 0x814, 32);
    add_match_line(all, "everything, 8 communities", eight, 0x814, 80);
    for (const ActionForm &form : kActions) {
        add_action_line(all, form, subject(form.targets, form.others));
    }
    add_compare_line(all, "rd", two, 1, two->rd());
    add_compare_line(all, "key", two, 2, two->key());
    add_compare_line(all, "label", two, 32, two->label());
    add_compare_line(all, "list of 8", two, 8, eight->list());
    add_compare_line(all, "target", two, 16, two->list().first(kElement));
    add_text_line(all, "route with a label", two, 1, true, [](char *out, std::size_t size) {
        return std::snprintf(out, size, "%u.%u.%u.%u/%u(<%u:%u> %u)", 10U, 1U, 0U, 0U, 16U, 100U, 5U, 100U);
    });
    add_text_line(all, "route without a label", subject(2, 0, kPlain, "50 0000006400000005 0a01"), 1, true,
                  [](char *out, std::size_t size) {
                      return std::snprintf(out, size, "%u.%u.%u.%u/%u(<%u:%u>)", 10U, 1U, 0U, 0U, 16U, 100U, 5U);
                  });
    add_community_text(all, two);
    return all;
}

} // namespace
} // namespace qel::bench

int main(int argc, char **argv)
{
    return qel::bench::run(argc, argv, qel::bench::lines());
}
