// The command over the samples of MDT and VPNv4 multicast.
#include "shell.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using qel::test::CommandTest;
using qel::test::Outcome;

const std::string kGood = std::string("'") + QEL_SAMPLES_DIR + "/mdt-vpnv4.pcap'";
const std::string kRefused = std::string("'") + QEL_SAMPLES_DIR + "/mdt-vpnv4-refused.pcap'";
// MP_UNREACH_NLRI: 10.1.2.0/24 of RD 256:1 without a label; with one it is 0.0.0.0/0.
const std::string kEither = "800f0f 000181 58 0000010000000001 0a0102\n";

std::size_t count(const std::string &text, const std::string &part)
{
    std::size_t out = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++out;
    }
    return out;
}

bool has(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

TEST_F(CommandTest, MdtAndVpnv4RoutesAreDecoded)
{
    const Outcome outcome = run("decode " + kGood);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(has(outcome.out, "    MDT  RD 4200000001:7   source 192.0.2.2        group 232.1.1.1\n"))
        << outcome.out;
    EXPECT_TRUE(has(outcome.out, "    VPNv4 multicast  RD 100:1          prefix 10.240.0.0/12       label 1048575\n"));
    EXPECT_TRUE(has(outcome.out, "\n    VPNv4 multicast  RD 100:1          prefix 10.1.0.0/16\n"));
    EXPECT_TRUE(has(outcome.out, "  blocks leaked: 0\n"));
}

TEST_F(CommandTest, OneOfTheTwoFamiliesAlone)
{
    const std::string mdt = run("decode --family mdt " + kGood).out;
    EXPECT_FALSE(has(mdt, "VPNv4"));
    EXPECT_TRUE(has(mdt, "    MDT  "));
    const std::string vpnv4 = run("decode --family vpnv4-mcast " + kGood).out;
    EXPECT_FALSE(has(vpnv4, "MDT"));
    EXPECT_TRUE(has(vpnv4, "    VPNv4 multicast  "));
}

TEST_F(CommandTest, RefusedMdtAndVpnv4RoutesAreToldAndTheGoodOnesAreAllShown)
{
    const Outcome outcome = run("decode " + kRefused);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(count(outcome.err, " refused, 0x6000"), 11U) << outcome.err;
    EXPECT_EQ(count(outcome.err, "mdt-vpnv4-refused.pcap: packet "), 12U);
    EXPECT_EQ(count(outcome.err, "\n"), 12U);
    EXPECT_EQ(count(outcome.out, "  MDT  RD "), 6U + 2U + 11U);
    EXPECT_EQ(count(outcome.out, "  VPNv4 multicast  RD "), 5U + 2U);
}

TEST_F(CommandTest, FiltersOfMdtAndVpnv4Routes)
{
    EXPECT_EQ(count(run("decode --rd 192.0.2.1:7 " + kGood).out, " RD 192.0.2.1:7"), 5U);
    EXPECT_EQ(count(run("decode --group 239.1.1.9 " + kGood).out, " RD "), 1U);
    EXPECT_EQ(count(run("decode --source 192.0.2.2 --family mdt " + kGood).out, " source 192.0.2.2 "), 4U);
    EXPECT_EQ(count(run("decode --type 1 " + kGood).out, " RD "), 0U);
    EXPECT_EQ(count(run("decode --rt 1.2:3 " + kGood).out, " RD "), 0U);
}

TEST_F(CommandTest, LabelsAreFoundOutOrTold)
{
    const std::string file = write("either", kEither);
    EXPECT_TRUE(has(run("decode " + file).out, "  with labels (the octets fit without them as well)\n"));
    EXPECT_TRUE(has(run("decode --vpnv4mcast-labels auto " + file).out, " prefix 0.0.0.0/0 "));
    const std::string without = run("decode --vpnv4mcast-labels no " + file).out;
    EXPECT_TRUE(has(without, "  without labels\n    VPNv4 multicast  RD 256:1          prefix 10.1.2.0/24\n"))
        << without;
    EXPECT_TRUE(has(run("decode --vpnv4mcast-labels yes " + file).out, "  with labels\n"));
    EXPECT_EQ(run("decode --vpnv4mcast-labels maybe " + file).status, 2);
}

TEST_F(CommandTest, TablesOfMdtAndVpnv4Routes)
{
    const Outcome outcome = run("table --match " + kGood);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(has(outcome.out, "  MDT  RD 100:1          source 192.0.2.1        group 239.1.1.9\n"
                                 "       cross   share group 239.1.1.9\n"
                                 "       match   13  RD 100:1\n"
                                 "               33  group 239.1.1.9\n"))
        << outcome.out;
    EXPECT_FALSE(has(outcome.out, "RD 100:1          source 192.0.2.1        group 239.1.1.1"))
        << "another group took its place";
    EXPECT_TRUE(has(outcome.out, "VPNv4 multicast (AFI 1, SAFI 129)  "));
}

TEST_F(CommandTest, PolicyOnMdtAndVpnv4Routes)
{
    const Outcome outcome = run("policy --action replace --rt 7:7 --rd 100:1 " + kGood);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_GE(count(outcome.out, "\n       after   RT <7 : 7>\n"), 4U) << outcome.out;
}

} // namespace
