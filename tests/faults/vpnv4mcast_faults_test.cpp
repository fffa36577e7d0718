#include "family_faults.h"

#include "loss_on_purpose.h"

namespace qel::test {
namespace {

const std::string kTargets = "0002 0064 00000001 0102 c0000202 0007 ";
const std::string kOther = "0009 0064 00000001 ";
const std::string kTarget = "0002 0064 00000009 ";
const std::string kRoute = "70 000641 0000 0064 00000005 0a0100 "; // label 100, 10.1.0.0/24
const std::string kRouteWithoutLabel = "58 0000 0064 00000005 0a0100 ";

class VpnV4McastFaults : public FamilyFaults {
protected:
    VpnV4McastFaults() : FamilyFaults(1, 129)
    {
        take(14, kRoute);
        take(16, kTargets + kOther);
    }
};

TEST_F(VpnV4McastFaults, RoutesAndAttributesFromAndToTheWire)
{
    const std::vector<FaultRow> rows{packet("route without label", 256, kRouteWithoutLabel, "B", "B"), attribute(256)};
    expect_faults(rows + wire_rows(kRoute, kTargets), ctx());
}

TEST_F(VpnV4McastFaults, MessagesBetweenComponentsDoNothing)
{
    expect_faults(
        {reader(desc().pfParseMsg, 53, "00", "", ""), writer(desc().pfFormatMsg, 53), adder(11, "00", "", "")}, ctx());
}

TEST_F(VpnV4McastFaults, MessagesToTheBackup)
{
    expect_faults(backup_rows("0000 0064 00000005 0a010000 18000000", kTarget), ctx());
}

TEST_F(VpnV4McastFaults, AttributeMessages)
{
    expect_faults(list_message_rows(kTargets), ctx());
}

TEST_F(VpnV4McastFaults, ConfigurationAndDisplay)
{
    expect_faults(config_rows("0100000a 20000000 010101ef 20000000"), ctx());
}

TEST_F(VpnV4McastFaults, ImportAndPolicy)
{
    expect_faults(policy_rows(kTarget), ctx());
}

// The work list of a delete is given back by nobody, be it in the context's buffer or on the heap.
class VpnV4McastDelete : public VpnV4McastFaults {
protected:
    struct Kept {
        std::uint32_t code;
        std::uint64_t blocks;
        std::uint32_t inline_buffer; // in use behind the call
        bool operator==(const Kept &) const = default;
    };
    Kept fail(std::size_t after, std::uint32_t lent)
    {
        const LossOnPurpose loss;
        ctx()->uiInlineBufUsed = lent;
        const std::uint64_t live = platform::usage(kMemHandle).live_blocks;
        Kept kept{};
        {
            Outputs out;
            const platform::FailAllocation failure(after);
            kept.code = action("delete", 87, "0002 0064 00000001", "", "").call(out);
        }
        kept.blocks = platform::usage(kMemHandle).live_blocks - live;
        kept.inline_buffer = std::exchange(ctx()->uiInlineBufUsed, 0U);
        return kept;
    }
};

TEST_F(VpnV4McastDelete, KeepsTheContextsBufferWhicheverAllocationFails)
{
    EXPECT_EQ(fail(0, 0), (Kept{QEL_ERR_MEMORY, 0, 1}));
    EXPECT_EQ(fail(1, 0), (Kept{QEL_ERR_ALLOC, 0, 1}));
    EXPECT_EQ(fail(2, 0), (Kept{QEL_ERR_ALLOC, 0, 1}));
    EXPECT_EQ(fail(3, 0), (Kept{QEL_OK, 0, 1}));
}

TEST_F(VpnV4McastDelete, KeepsABlockOfTheHeapOnceItHasOne)
{
    EXPECT_EQ(fail(0, 1), (Kept{QEL_ERR_MEMORY, 0, 1}));
    EXPECT_EQ(fail(1, 1), (Kept{QEL_ERR_MEMORY, 0, 1}));
    EXPECT_EQ(fail(2, 1), (Kept{QEL_ERR_MEMORY, 1, 1}));
    EXPECT_EQ(fail(3, 1), (Kept{QEL_ERR_ALLOC, 1, 1}));
    EXPECT_EQ(fail(4, 1), (Kept{QEL_ERR_ALLOC, 1, 1}));
    EXPECT_EQ(fail(5, 1), (Kept{QEL_OK, 1, 1}));
}

TEST_F(VpnV4McastFaults, OperationsWithoutMemory)
{
    const std::vector<FaultRow> rows{{"label type", [this](Outputs &out) {
                                          std::uint32_t reserved = 0;
                                          return desc().pfGetLabelType(&info(), &out.length, &out.index, &reserved);
                                      }}};
    expect_faults(rows + without_memory(), ctx());
}

TEST(VpnV4McastInstanceFaults, ConstructionWithoutMemoryGivesNull)
{
    expect_construction_faults(QEL_VPNV4MCAST_Construct, QEL_VPNV4MCAST_Destruct);
}

} // namespace
} // namespace qel::test
