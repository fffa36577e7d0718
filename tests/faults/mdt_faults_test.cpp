#include "family_faults.h"

namespace qel::test {
namespace {

const std::string kPrefix = "0000 0064 00000005 0a000001 ef010101 ";
const std::string kTargets = "0002 0064 00000001 0102 c0000202 0007 ";
const std::string kOther = "0009 0064 00000001 ";
const std::string kTarget = "0002 0064 00000009 ";
const std::string kShareGroup = "ef010101 ";

class MdtFaults : public FamilyFaults {
protected:
    MdtFaults() : FamilyFaults(1, 66)
    {
        take(14, "80 " + kPrefix);
        take(16, kTargets + kOther);
    }
};

TEST_F(MdtFaults, RoutesAndAttributesFromAndToTheWire)
{
    expect_faults(wire_rows("80 " + kPrefix, kTargets), ctx());
}

TEST_F(MdtFaults, MessagesBetweenComponentsAndToTheBackup)
{
    std::vector<FaultRow> rows = backup_rows(kPrefix, kTarget);
    for (const std::uint32_t type : {53U, 55U, 59U, 61U, 15U}) {
        rows.push_back(reader(desc().pfParseMsg, type, kPrefix, "B", "B"));
    }
    for (const std::uint32_t type : {56U, 57U, 18U, 19U, 20U, 21U, 70U, 71U}) {
        rows.push_back(reader(desc().pfParseMsg, type, kTarget, "B", "B"));
        rows.push_back(reader(desc().pfParseMsg, type, kShareGroup, "B", "B"));
    }
    for (const std::uint32_t type : {53U, 55U, 59U, 61U, 5U, 56U, 57U}) {
        rows.push_back(writer(desc().pfFormatMsg, type));
    }
    expect_faults(rows, ctx());
}

TEST_F(MdtFaults, AttributeMessages)
{
    const std::vector<FaultRow> rows{
        reader(desc().pfParseAttrMsg, 34, "0001 0008 0001 0004 " + kShareGroup, "B", "B"),
        adder(11, "0200 6400 01000000", "3B", "3B"), // kept as it came: no sorting
        writer(desc().pfFormatAttrMsg, 34),
    };
    expect_faults(rows + list_message_rows(kTargets), ctx());
}

TEST_F(MdtFaults, ConfigurationAndDisplay)
{
    expect_faults(config_rows("0100000a 20000000 010101ef 20000000") + std::vector{text(8, "", "")}, ctx());
}

TEST_F(MdtFaults, ImportAndPolicy)
{
    const std::vector<FaultRow> rows{
        match(0x80000, "3"),
        action("delete", 87, "0002 0064 00000001", "3B", "333BB"),
        action("delete all", 87, kTargets + kOther, "3B", "333BB"),
    };
    expect_faults(rows + policy_rows(kTarget), ctx());
}

TEST_F(MdtFaults, OperationsWithoutMemory)
{
    expect_faults(without_memory(), ctx());
}

TEST(MdtInstanceFaults, ConstructionWithoutMemoryGivesNull)
{
    expect_construction_faults(QEL_MDT_Construct, QEL_MDT_Destruct);
}

} // namespace
} // namespace qel::test
