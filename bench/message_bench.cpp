// What messages between components cost in the library: route prefixes, route paths, single attributes, what is added
// to a route; each beside the buffers that the contract asks for.
#include "bench/message_floor.h"
#include "bench/table.h"

#include "host/family.h"
#include "host/route.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qel::bench {
namespace {

enum class Door : std::uint8_t { message, backup, attribute };

struct MessageForm {
    std::string_view name;
    Door door;
    std::uint32_t read_type;
    std::uint32_t write_type;
    std::string_view wire;
    std::vector<Work> works{}; // of the reader
    bool written = true;       // whether the writer has anything to write
};

const std::string kIntra = "01 0c 0000 0064 00000001 c0000201";
const std::string kSpmsi = "03 16 0000 0064 00000001 20 0a010001 20 e8010101 c0000201";
const std::string kLeaf = "04 1c 03 16 0000 0064 00000001 20 0a010001 20 e8010101 c0000201 c0000202";
const std::string kHop = "000e 0008 c0000201 05 000000 ";
const std::string kSnh = "0112 c0000201 0000 ";
const std::string kTarget = "0002 0064 00000001 ";
const std::string kRsvpTe = "01 01 000120 00000005 0000 0011 c0000201";
const std::string kMldp = "00 02 000000 06 0001 04 c0000201 0007 01 0004 000003e9";
const std::string kPrefixSid = "05 0019 00 01 0015 00 20010db8001200000000000000000001 00 0045 00";
const std::string kMsid = "01 0019 00 20010db8001200000000000000000001 01 0005 00 40 10 0000";
const std::string kIpv6Target = "000b 20010db8000000000000000000000001 0007";
const std::string kNonKey = "0017 0060 0001 0004 00000003 0002 0008 c0000201 00000007 0004 003c ";

std::string times(const std::string &text, int count)
{
    std::string out;
    for (int i = 0; i < count; ++i) {
        out += text;
    }
    return out;
}

const std::vector<MessageForm> &forms()
{
    static const std::string wire_mc = "000b 0018 " + kSpmsi;
    static const std::string wire_backup = "0015 0004 01 000000 000b 001e " + kLeaf;
    static const std::string path_snh = kHop + "000f 0008 " + kSnh;
    static const std::string path_targets = kHop + "000d 0040 " + times(kTarget, 8);
    static const std::string path_tunnel = kHop + "000c 0016 " + kMldp;
    static const std::string path_sid = kHop + "0017 001c " + kPrefixSid;
    static const std::string path_msid = kHop + "0018 001c " + kMsid;
    static const std::string eight = times(kTarget, 8);
    static const std::string many = times(kTarget, 64);
    static const std::string non_key = kNonKey + times("5a", 60) + "0010 0008 0000 6400 01000000";
    static const Work hop{100};
    static const std::vector<MessageForm> all{
        {"prefix intra", Door::message, 53, 53, kIntra},
        {"prefix s-pmsi from mc", Door::message, 15, 5, wire_mc},
        {"prefix leaf backup", Door::backup, 1, 1, wire_backup},
        {"path snh", Door::message, 16, 6, path_snh, {hop, {8}, kSorting}},
        {"path 8 equal targets", Door::message, 16, 6, path_targets, {hop, {64}, kSorting}, false},
        {"path mldp", Door::message, 16, 6, path_tunnel, {hop, kTunnelWork}},
        {"path prefix-sid", Door::message, 16, 6, path_sid, {hop, {48, false, true}}},
        {"path msid", Door::message, 16, 6, path_msid, {hop, {48, true, true}}},
        {"1 community", Door::attribute, 11, 11, kTarget, {{8}}},
        {"8 communities", Door::attribute, 11, 11, eight, {{64}}},
        {"64 communities", Door::attribute, 11, 11, many, {{512}}},
        {"1 ipv6 community", Door::attribute, 50, 50, kIpv6Target, {{20}}},
        {"pmsi rsvp-te", Door::attribute, 25, 25, kRsvpTe, {kTunnelWork}},
        {"pmsi mldp", Door::attribute, 25, 25, kMldp, {kTunnelWork}},
        {"prefix-sid", Door::attribute, 43, 43, kPrefixSid, {{48, false, true}}},
        {"msid structure", Door::attribute, 59, 59, kMsid, {{48, true, true}}},
        {"non-key", Door::attribute, 34, 34, non_key},
    };
    return all;
}

// One message, read once: what the operations take and what the floors copy.
class Sample {
public:
    explicit Sample(const MessageForm &form)
        : form_(form), family_(*host::find_family(1, 5), kMemHandle, host::Component::mvrf), wire_(bytes(form.wire)),
          size_(wire_.size()), out_(1024), read_(reader()), write_(writer())
    {
        wire_.resize(size_ + QEL_MSG_READ_SLACK);
        host::BlockPtr block = read();
        read_floor_ = BlockFloor(form.works, *block, texts_of(family_, [this] { read(); }));
        route_.add(std::move(block));
        info_ = route_.info();
        if (form.write_type == 6) { // a path goes out with the type of its route
            non_key_[0] = 1;
            non_key_[4] = 1;
            info_.uiValidMask |= QEL_SECTION_NONKEY;
            info_.pucNonKey = non_key_.data();
            info_.uiNonKeyLen = static_cast<std::uint32_t>(non_key_.size());
        }
        const std::size_t written = write();
        write_floor_ = OctetsFloor(Bytes(out_.begin(), out_.begin() + static_cast<std::ptrdiff_t>(written)),
                                   texts_of(family_, [this] { write(); }),
                                   form.door == Door::attribute && (form.write_type == 11 || form.write_type == 50));
        if (form.write_type != 6 && written != size_) {
            fail(form.name);
        }
    }

    host::BlockPtr read()
    {
        QEL_ROUTE_BLOCK_S *block = nullptr;
        if (read_(wire_.data(), static_cast<std::uint32_t>(size_), form_.read_type, &block, family_.ctx()) != QEL_OK ||
            block == nullptr) [[unlikely]] {
            fail(form_.name);
        }
        return host::BlockPtr(block);
    }
    host::BlockPtr read_floor() { return read_floor_(); }

    std::size_t write()
    {
        std::uint8_t *cursor = out_.data();
        if (write_(&info_, form_.write_type, &cursor, static_cast<std::uint32_t>(out_.size()), family_.ctx()) != QEL_OK)
            [[unlikely]] {
            fail(form_.name);
        }
        return static_cast<std::size_t>(cursor - out_.data());
    }
    std::size_t write_floor() { return write_floor_(); }

private:
    QEL_PARSE_TLV_F reader() const
    {
        const QEL_FAMILY_DESC_S &desc = family_.desc();
        return form_.door == Door::message  ? desc.pfParseMsg
               : form_.door == Door::backup ? desc.pfParseHaMsg
                                            : desc.pfParseAttrMsg;
    }
    QEL_FORMAT_TLV_F writer() const
    {
        const QEL_FAMILY_DESC_S &desc = family_.desc();
        return form_.door == Door::message  ? desc.pfFormatMsg
               : form_.door == Door::backup ? desc.pfFormatHaMsg
                                            : desc.pfFormatAttrMsg;
    }

    const MessageForm &form_;
    host::Family family_;
    Bytes wire_;
    std::size_t size_;
    Bytes out_;
    QEL_PARSE_TLV_F read_;
    QEL_FORMAT_TLV_F write_;
    host::Route route_;
    QEL_ROUTE_INFO_S info_{};
    std::array<std::uint8_t, 100> non_key_{};
    BlockFloor read_floor_;
    OctetsFloor write_floor_;
};

// ---- what is added to a route ----

struct AddForm {
    std::string_view name;
    std::uint32_t type;
    int held; // communities
    int added;
};

constexpr std::array kAdds{
    AddForm{"1 community to 1", 11, 1, 1},
    AddForm{"4 communities to 4", 11, 4, 4},
    AddForm{"32 communities to 32", 11, 32, 32},
    AddForm{"non-key", 34, 0, 0},
};

class Add {
public:
    explicit Add(const AddForm &form)
        : form_(form), family_(*host::find_family(1, 5), kMemHandle), list_(communities(form.held, 0)),
          added_(form.type == 11 ? communities(form.added, form.held) : Bytes(100, 0x13)), size_(added_.size())
    {
        added_.resize(size_ + QEL_MSG_READ_SLACK);
        non_key_[0] = 1;
        non_key_[4] = 1;
        info_.uiValidMask = QEL_SECTION_NONKEY;
        info_.pucNonKey = non_key_.data();
        info_.uiNonKeyLen = static_cast<std::uint32_t>(non_key_.size());
        info_.pucExtComm = list_.empty() ? nullptr : list_.data();
        info_.uiExtCommLen = static_cast<std::uint32_t>(list_.size());
        const host::BlockPtr block = whole();
        std::vector<Work> works;
        if (form.type == 11) {
            works = {{list_.size() + size_, true, true}, kSorting};
        }
        floor_ = BlockFloor(std::move(works), *block, texts_of(family_, [this] { whole(); }));
    }

    host::BlockPtr whole()
    {
        QEL_ROUTE_BLOCK_S *block = nullptr;
        if (family_.desc().pfParseAddAttrMsg(&info_, added_.data(), static_cast<std::uint32_t>(size_), form_.type,
                                             &block, family_.ctx()) != QEL_OK ||
            block == nullptr) [[unlikely]] {
            fail(form_.name);
        }
        return host::BlockPtr(block);
    }
    host::BlockPtr floor() { return floor_(); }

private:
    // Route targets in host order, each with a number of its own.
    static Bytes communities(int count, int first)
    {
        Bytes list;
        for (int i = 0; i < count; ++i) {
            const Bytes element{2, 0, 100, 0, static_cast<std::uint8_t>(first + i + 1), 0, 0, 0};
            list.insert(list.end(), element.begin(), element.end());
        }
        return list;
    }

    const AddForm &form_;
    host::Family family_;
    Bytes list_;
    Bytes added_;
    std::size_t size_;
    std::array<std::uint8_t, 100> non_key_{};
    QEL_ROUTE_INFO_S info_{};
    BlockFloor floor_;
};

std::vector<Line> lines()
{
    std::vector<Line> all;
    for (const MessageForm &form : forms()) {
        all.push_back({"read", std::string(form.name), member<Sample, &Sample::read>(form),
                       member<Sample, &Sample::read_floor>(form)});
    }
    for (const MessageForm &form : forms()) {
        if (!form.written) {
            continue;
        }
        all.push_back({"write", std::string(form.name), member<Sample, &Sample::write>(form),
                       member<Sample, &Sample::write_floor>(form)});
    }
    for (const AddForm &form : kAdds) {
        all.push_back({"add", std::string(form.name), member<Add, &Add::whole>(form), member<Add, &Add::floor>(form)});
    }
    return all;
}

} // namespace
} // namespace qel::bench

int main(int argc, char **argv)
{
    return qel::bench::run(argc, argv, qel::bench::lines());
}
