// What a segmentation point costs in the library: the import route messages and the flat record both ways, the action
// that makes the record, the decision after policy in each of its rows, what goes out of the route; each beside the
// buffers that the contract asks for.
#include "bench/message_floor.h"
#include "bench/table.h"

#include "host/family.h"
#include "host/route.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::bench {
namespace {

constexpr std::size_t kFixed = 152; // of the record
constexpr std::size_t kPolicyAt = 108;
constexpr std::size_t kReplacedFlagsAt = 136;

const std::string kIntraKey = "000b 000e 01 0c 0000 0064 00000001 c0000201 0010 0004 00000007";
const std::string kSpmsiKey = "000b 0018 03 16 0000 0064 00000001 20 0a010001 20 e8010101 c0000201 0010 0004 00000007";
const std::string kOriginal = "0013 0008 0112 c0000201 0000 0012 000c 02 000000 c0000201 00000009 0014 0011 01 01 "
                              "000120 00000005 0000 0011 c0000201 ";
const std::string kReplaced =
    "000f 0008 0112 c0000202 0000 000c 0016 00 02 000000 06 0001 04 c0000201 0007 01 0004 000003e9";
const std::string kTarget = "0200 6400 01000000 "; // host order
const std::string kSnh = "1201 010200c0 0000 ";

class Instance {
public:
    Instance() : family_(*host::find_family(1, 5), kMemHandle) {}
    const host::Family &family() const { return family_; }
    const QEL_FAMILY_DESC_S &desc() const { return family_.desc(); }
    QEL_FAMILY_CTX_S *ctx() const { return family_.ctx(); }

private:
    host::Family family_;
};

// A message with what a host keeps readable behind it.
struct Message {
    Bytes octets;
    std::uint32_t size;

    explicit Message(std::string_view text) : Message(bytes(text)) {}
    explicit Message(Bytes from) : octets(std::move(from)), size(static_cast<std::uint32_t>(octets.size()))
    {
        octets.resize(size + QEL_MSG_READ_SLACK);
    }
};

host::BlockPtr taken(std::uint32_t code, QEL_ROUTE_BLOCK_S *block, std::string_view what)
{
    if (code != QEL_OK || block == nullptr) [[unlikely]] {
        fail(what);
    }
    return host::BlockPtr(block);
}

Bytes attribute_of(const QEL_ROUTE_BLOCK_S &block)
{
    const auto *start = reinterpret_cast<const std::uint8_t *>(&block) + block.usAttrOffset;
    return {start, start + block.usAttrLen};
}

// Both messages of a route, read one behind the other.
class Pair {
public:
    Pair(std::string_view key, std::string_view attributes, std::vector<Work> works)
        : key_(key), attributes_(attributes)
    {
        host::BlockPtr block = first();
        const std::size_t texts = texts_of(instance_.family(), [this] { first(); });
        first_floor_ = BlockFloor({}, *block, texts);
        block = second(std::move(block));
        works.push_back({block->usAttrLen, true, true});
        second_floor_ = BlockFloor(std::move(works), *block, texts_of(instance_.family(), [this] { both(); }) - texts);
    }

    host::BlockPtr first()
    {
        QEL_ROUTE_BLOCK_S *block = nullptr;
        const std::uint32_t code =
            instance_.desc().pfParseMsg(key_.octets.data(), key_.size, 137, &block, instance_.ctx());
        return taken(code, block, "key message");
    }
    host::BlockPtr first_floor() { return first_floor_(); }
    host::BlockPtr both() { return second(first()); }
    host::BlockPtr both_floor()
    {
        const host::BlockPtr block = first_floor_();
        benchmark::DoNotOptimize(block.get());
        return second_floor_();
    }

private:
    host::BlockPtr second(host::BlockPtr held)
    {
        QEL_ROUTE_BLOCK_S *block = held.release();
        const std::uint32_t code =
            instance_.desc().pfParseMsg(attributes_.octets.data(), attributes_.size, 138, &block, instance_.ctx());
        return taken(code, block, "attribute message");
    }

    Instance instance_;
    Message key_;
    Message attributes_;
    BlockFloor first_floor_;
    BlockFloor second_floor_;
};

const std::vector<Work> kOriginalWorks{{8}, kSorting, {12, false}, kTunnelWork};
const std::vector<Work> kAllWorks{{8}, kSorting, {12, false}, kTunnelWork, {8}, kSorting, kTunnelWork};

// ---- a route of a segmentation point ----

class SegmentRoute {
public:
    // As it came from the multicast component, with those attributes.
    SegmentRoute(std::string_view attributes, std::string_view list)
        : pair_(kSpmsiKey, attributes, {}), list_(bytes(list)),
          tunnel_(bytes("01 01 0000 20010000 05000000 0000 1100 010200c0"))
    {
        block_ = pair_.both();
        record_ = attribute_of(*block_);
        host::place_sections(info_, *block_);
        info_.pucExtComm = list_.empty() ? nullptr : list_.data();
        info_.uiExtCommLen = static_cast<std::uint32_t>(list_.size());
        info_.pucPmsi = tunnel_.data();
        info_.uiPmsiLen = static_cast<std::uint32_t>(tunnel_.size());
        info_.uiPolicyId = 7;
        hold(record_);
    }
    SegmentRoute(const SegmentRoute &) = delete;
    SegmentRoute &operator=(const SegmentRoute &) = delete;

    const QEL_ROUTE_INFO_S &info() const { return info_; }
    Bytes record() const { return record_; }
    void hold(Bytes record)
    {
        record_ = std::move(record);
        info_.pstImportAttr =
            record_.empty() ? nullptr
                            : static_cast<const QEL_NGMVPN_IMPORT_ATTR_S *>(static_cast<const void *>(record_.data()));
        info_.uiImportAttrLen = static_cast<std::uint32_t>(record_.size());
    }

private:
    Pair pair_;
    host::BlockPtr block_;
    Bytes record_;
    Bytes list_;
    Bytes tunnel_;
    QEL_ROUTE_INFO_S info_{};
};

// An operation that gives a block of one attribute, whatever its code.
class BlockOperation {
public:
    using Call = std::uint32_t (*)(BlockOperation &self, QEL_ROUTE_BLOCK_S **block);

    BlockOperation(std::string_view list, std::string_view attributes, Call call, std::uint32_t code)
        : old_(attributes, list), route_(attributes, list), call_(call), code_(code)
    {
    }
    // Behind the last change of the routes.
    void finish(std::vector<Work> works)
    {
        const host::BlockPtr block = whole();
        floor_ = BlockFloor(std::move(works), *block, texts_of(instance_.family(), [this] { whole(); }));
    }

    host::BlockPtr whole()
    {
        QEL_ROUTE_BLOCK_S *block = nullptr;
        if (call_(*this, &block) != code_ || block == nullptr) [[unlikely]] {
            fail("an operation on a route");
        }
        return host::BlockPtr(block);
    }
    host::BlockPtr floor() { return floor_(); }

    SegmentRoute &old() { return old_; }
    SegmentRoute &route() { return route_; }
    const Instance &instance() const { return instance_; }
    std::uint32_t control = 0;

private:
    Instance instance_;
    SegmentRoute old_;
    SegmentRoute route_;
    Call call_;
    std::uint32_t code_;
    BlockFloor floor_;
};

std::uint32_t apply_action(BlockOperation &self, QEL_ROUTE_BLOCK_S **block)
{
    static const Message value("00000002 c0000201 00000000 00000000 00000000 00000009");
    return self.instance().desc().pfApplyAction(&self.route().info(), 61, value.octets.data(), value.size, block,
                                                self.instance().ctx());
}

std::uint32_t decide(BlockOperation &self, QEL_ROUTE_BLOCK_S **block)
{
    return self.instance().desc().pfSetAttrAfterPlcy(&self.old().info(), &self.route().info(), 0, self.control, block,
                                                     self.instance().ctx());
}

template <std::uint32_t kAttribute> std::uint32_t set_attribute(BlockOperation &self, QEL_ROUTE_BLOCK_S **block)
{
    return self.instance().desc().pfSetAttr(&self.route().info(), kAttribute, self.control, block,
                                            self.instance().ctx());
}

// ---- the flat record, writing ----

class Flat {
public:
    Flat() : route_(kOriginal + kReplaced, ""), out_(1024)
    {
        Bytes value = written();
        value.resize(value.size() + 4); // a reader wants to see more behind it
        message_ = std::make_unique<Message>(std::move(value));
        const host::BlockPtr block = read();
        read_floor_ = BlockFloor({{block->usAttrLen}, kTunnelWork, kTunnelWork}, *block,
                                 texts_of(instance_.family(), [this] { read(); }));
        write_floor_ = OctetsFloor(written(), texts_of(instance_.family(), [this] { write(); }));
    }

    std::size_t write()
    {
        std::uint8_t *cursor = out_.data();
        if (instance_.desc().pfFormatAttrMsg(&route_.info(), 40, &cursor, 1024, instance_.ctx()) != QEL_OK)
            [[unlikely]] {
            fail("flat record");
        }
        return static_cast<std::size_t>(cursor - out_.data());
    }
    std::size_t write_floor() { return write_floor_(); }
    host::BlockPtr read()
    {
        QEL_ROUTE_BLOCK_S *block = nullptr;
        const std::uint32_t code =
            instance_.desc().pfParseAttrMsg(message_->octets.data(), message_->size, 40, &block, instance_.ctx());
        return taken(code, block, "flat record");
    }
    host::BlockPtr read_floor() { return read_floor_(); }

private:
    Bytes written()
    {
        const auto size = static_cast<std::ptrdiff_t>(write());
        return {out_.begin(), out_.begin() + size};
    }

    Instance instance_;
    SegmentRoute route_;
    Bytes out_;
    std::unique_ptr<Message> message_;
    BlockFloor read_floor_;
    OctetsFloor write_floor_;
};

// ---- messages 137 and 138, writing ----

class Written {
public:
    explicit Written(std::uint32_t type) : type_(type), route_(kOriginal + kReplaced, ""), out_(256)
    {
        const auto size = static_cast<std::ptrdiff_t>(write());
        floor_ =
            OctetsFloor(Bytes(out_.begin(), out_.begin() + size), texts_of(instance_.family(), [this] { write(); }));
    }
    std::size_t write()
    {
        std::uint8_t *cursor = out_.data();
        if (instance_.desc().pfFormatMsg(&route_.info(), type_, &cursor, 256, instance_.ctx()) != QEL_OK) [[unlikely]] {
            fail("import route message");
        }
        return static_cast<std::size_t>(cursor - out_.data());
    }
    std::size_t floor() { return floor_(); }

private:
    std::uint32_t type_;
    Instance instance_;
    SegmentRoute route_;
    Bytes out_;
    OctetsFloor floor_;
};

// ---- lines ----

template <class Sample, auto kMember>
std::function<void(benchmark::State &)> on(std::function<std::unique_ptr<Sample>()> make)
{
    return [make = std::move(make)](benchmark::State &state) {
        const std::unique_ptr<Sample> sample = make();
        measure(state, [&] { return ((*sample).*kMember)(); });
    };
}

void add_messages(std::vector<Line> &all)
{
    const auto pair = [](std::string key, std::string attributes, std::vector<Work> works) {
        return [=] { return std::make_unique<Pair>(key, attributes, works); };
    };
    for (const auto &[name, key] : {std::pair{"intra", &kIntraKey}, std::pair{"s-pmsi", &kSpmsiKey}}) {
        const auto make = pair(*key, kOriginal, kOriginalWorks);
        all.push_back({"read 137", name, on<Pair, &Pair::first>(make), on<Pair, &Pair::first_floor>(make)});
    }
    for (const auto &[name, attributes, works] :
         {std::tuple{"original", kOriginal, kOriginalWorks},
          std::tuple{"original and replaced", kOriginal + kReplaced, kAllWorks}}) {
        const auto make = pair(kSpmsiKey, attributes, works);
        all.push_back({"read 137 138", name, on<Pair, &Pair::both>(make), on<Pair, &Pair::both_floor>(make)});
    }
    for (const std::uint32_t type : {137U, 138U}) {
        const auto make = [type] { return std::make_unique<Written>(type); };
        all.push_back(
            {"write", std::to_string(type), on<Written, &Written::write>(make), on<Written, &Written::floor>(make)});
    }
    const auto flat = [] { return std::make_unique<Flat>(); };
    all.push_back({"read 40", "two tunnels", on<Flat, &Flat::read>(flat), on<Flat, &Flat::read_floor>(flat)});
    all.push_back({"write 40", "two tunnels", on<Flat, &Flat::write>(flat), on<Flat, &Flat::write_floor>(flat)});
}

struct OperationForm {
    std::string operation;
    std::string name;
    std::string list;
    BlockOperation::Call call;
    std::uint32_t code;
    std::function<std::vector<Work>(BlockOperation &)> prepare; // gives the buffers of the floor
};

void add_operation(std::vector<Line> &all, const OperationForm &form)
{
    const auto make = [form] {
        auto operation = std::make_unique<BlockOperation>(form.list, kOriginal + kReplaced, form.call, form.code);
        std::vector<Work> works = form.prepare(*operation);
        operation->finish(std::move(works));
        return operation;
    };
    all.push_back({form.operation, form.name, on<BlockOperation, &BlockOperation::whole>(make),
                   on<BlockOperation, &BlockOperation::floor>(make)});
}

Bytes with(Bytes record, std::size_t at, std::uint8_t octet)
{
    record[at] = octet;
    return record;
}

// A route that policy has changed.
void change(BlockOperation &self)
{
    self.route().hold(with(self.route().record(), kPolicyAt, 9));
}

void add_decisions(std::vector<Line> &all)
{
    const auto add = [&all](const char *name, std::uint32_t code,
                            const std::function<std::vector<Work>(BlockOperation &)> &prepare) {
        add_operation(all, {"after policy", name, kSnh, decide, code, prepare});
    };
    add("a", QEL_PLCY_DENY, [](BlockOperation &self) {
        self.old().hold({});
        return std::vector<Work>{};
    });
    add("b", QEL_PLCY_DENY, [](BlockOperation &self) {
        self.old().hold(with(self.old().record(), kReplacedFlagsAt, 0x3));
        return std::vector<Work>{};
    });
    add("1.1", QEL_OK, [](BlockOperation &) { return std::vector<Work>{}; });
    add("1.2", QEL_OK, [](BlockOperation &self) {
        change(self);
        return std::vector<Work>{{self.route().record().size(), true, true}};
    });
    add("2.1", QEL_PLCY_WITHDRAW, [](BlockOperation &self) {
        self.old().hold(with(self.old().record(), kReplacedFlagsAt, 0xa));
        return std::vector<Work>{};
    });
    add("2.2", QEL_PLCY_DENY, [](BlockOperation &self) {
        change(self);
        self.old().hold(with(self.old().record(), kReplacedFlagsAt, 0xa));
        return std::vector<Work>{};
    });
}

std::string targets(std::size_t count)
{
    std::string out;
    for (std::size_t i = 0; i < count; ++i) {
        out += kTarget;
    }
    return out;
}

void add_outgoing(std::vector<Line> &all)
{
    add_operation(all, {"action 61", "rsvp-te", targets(1) + kSnh, apply_action, QEL_OK,
                        [](BlockOperation &) { return std::vector<Work>{{kFixed + 20}}; }});
    for (const std::size_t count : {std::size_t{1}, std::size_t{7}, std::size_t{63}}) {
        const std::string list = targets(count) + kSnh;
        const std::size_t size = (count + 1) * 8;
        const std::string name = std::to_string(count + 1) + " communities";
        const auto without_record = [size](BlockOperation &self) {
            self.route().hold({});
            return std::vector<Work>{{size, true, true}};
        };
        add_operation(all, {"set 16", name, list, set_attribute<16>, QEL_OK, without_record});
        add_operation(all, {"set 16", name + " replace", list, set_attribute<16>, QEL_OK, [size](BlockOperation &) {
                                return std::vector<Work>{{size, false, true}, {size, true, true}};
                            }});
        add_operation(all, {"set 16", name + " to ebgp", list, set_attribute<16>, QEL_OK, [=](BlockOperation &self) {
                                std::vector<Work> works = without_record(self);
                                self.control = 1;
                                works.insert(works.begin(), Work{size, false, true});
                                return works;
                            }});
    }
    add_operation(all, {"set 22", "own", kSnh, set_attribute<22>, QEL_OK, [](BlockOperation &self) {
                            self.route().hold({});
                            return std::vector<Work>{};
                        }});
    add_operation(all, {"set 22", "replaced", kSnh, set_attribute<22>, QEL_OK,
                        [](BlockOperation &) { return std::vector<Work>{}; }});
}

std::vector<Line> lines()
{
    std::vector<Line> all;
    add_messages(all);
    add_decisions(all);
    add_outgoing(all);
    return all;
}

} // namespace
} // namespace qel::bench

int main(int argc, char **argv)
{
    return qel::bench::run(argc, argv, qel::bench::lines());
}
