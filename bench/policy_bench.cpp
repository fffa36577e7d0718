// What routing policy costs in the library: the match buffer and the three actions on the community list, beside the
// buffers that the contract asks for, allocated, cleared, filled and given back. A message clears its buffer whether or
// not anybody reads it, so the floor has that too.
#include "bench/samples.h"
#include "bench/table.h"

#include "host/family.h"
#include "host/route.h"
#include "ngmvpn/qel_ngmvpn_policy.h"
#include "platform/bounds.h"

#include <fmt/format.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::bench {
namespace {

constexpr std::size_t kElement = 8;
constexpr std::size_t kInline = 256; // scratch up to here costs no allocation, once at a time
constexpr std::size_t kMessage = 700;

void clear_messages(std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        std::array<char, kMessage> text;
        memset_s(text.data(), text.size(), 0, text.size());
        benchmark::DoNotOptimize(text.data());
    }
}

// An Intra I-PMSI A-D route with communities.
host::Route intra_route(const host::Family &family, const Bytes &list)
{
    host::Route route(read_block(family, bytes("01 0c 0000006400000001 c0000201"), 14));
    if (!list.empty()) {
        route.add(read_block(family, list, QEL_ATTR_TYPE_EXTCOMM));
    }
    return route;
}

// ---- match buffer ----

struct MatchForm {
    std::string_view name;
    std::uint32_t mask;
    std::size_t elements;
    std::size_t length;
};

constexpr std::uint32_t kAllBits = QEL_NGMVPN_MATCH_RD | QEL_NGMVPN_MATCH_EXTCOMM | QEL_NGMVPN_MATCH_SNH_EXTCOMM |
                                   QEL_NGMVPN_MATCH_MVPN_TYPE | QEL_NGMVPN_MATCH_ORIGI_IP;
constexpr std::array kMatches{
    MatchForm{"rd", QEL_NGMVPN_MATCH_RD, 2, 12},
    MatchForm{"2 communities", QEL_NGMVPN_MATCH_EXTCOMM, 2, 20},
    MatchForm{"8 communities", QEL_NGMVPN_MATCH_EXTCOMM, 8, 68},
    MatchForm{"type and originator", QEL_NGMVPN_MATCH_MVPN_TYPE | QEL_NGMVPN_MATCH_ORIGI_IP, 2, 13},
    MatchForm{"everything, 2 communities", kAllBits, 2, 65},
    MatchForm{"everything, 8 communities", kAllBits, 8, 161},
};

class Match {
public:
    explicit Match(const MatchForm &form)
        : form_(form), family_(*host::find_family(1, 5), kMemHandle),
          route_(intra_route(family_, communities(form.elements, 0))), image_(form.length, 1)
    {
        std::uint32_t length = 0;
        const Buffer match = construct(length);
        if (length != form.length) {
            fail(form.name);
        }
    }

    std::uint32_t whole()
    {
        std::uint32_t length = 0;
        const Buffer match = construct(length);
        benchmark::DoNotOptimize(match.get());
        return length;
    }

    // The buffer, filled; for each list a copy on its way there; for each message its buffer cleared.
    std::uint32_t floor()
    {
        const auto asks = [this](std::uint32_t bit) { return (form_.mask & bit) != 0; };
        const std::size_t list_size = form_.elements * kElement;
        const Buffer match = allocate(form_.length);
        std::size_t others = form_.length;
        for (const std::uint32_t bit : {QEL_NGMVPN_MATCH_EXTCOMM, QEL_NGMVPN_MATCH_SNH_EXTCOMM}) {
            if (asks(bit)) {
                const Buffer copy = allocate(list_size);
                memcpy_s(copy.get(), list_size, route_.info().pucExtComm, list_size);
                memcpy_s(match.get(), form_.length, copy.get(), list_size);
                others -= list_size;
            }
        }
        if (others != 0) {
            memcpy_s(match.get(), form_.length, image_.data(), others);
        }
        clear_messages((asks(QEL_NGMVPN_MATCH_SNH_EXTCOMM) ? 1U : 0U) + (asks(QEL_NGMVPN_MATCH_MVPN_TYPE) ? 1U : 0U) +
                       (asks(QEL_NGMVPN_MATCH_ORIGI_IP) ? 1U : 0U));
        benchmark::DoNotOptimize(match.get());
        return static_cast<std::uint32_t>(form_.length);
    }

private:
    Buffer construct(std::uint32_t &length)
    {
        std::uint8_t *match = nullptr;
        if (family_.desc().pfConstructMatch(&route_.info(), form_.mask, &match, &length, family_.ctx()) != QEL_OK)
            [[unlikely]] {
            fail(form_.name);
        }
        return Buffer(match);
    }

    const MatchForm &form_;
    host::Family family_;
    host::Route route_;
    Bytes image_;
};

// ---- actions ----

struct ActionForm {
    std::string_view name;
    std::uint32_t code;
    std::size_t targets; // of the route
    std::size_t others;
    std::size_t value; // elements of the action
};

constexpr std::array kActions{
    ActionForm{"replace 1 by 1", QEL_NGMVPN_ACTION_EXTCOMM_REPLACE, 1, 0, 1},
    ActionForm{"replace 2 of 3 by 2", QEL_NGMVPN_ACTION_EXTCOMM_REPLACE, 2, 1, 2},
    ActionForm{"replace 4 of 8 by 4", QEL_NGMVPN_ACTION_EXTCOMM_REPLACE, 4, 4, 4},
    ActionForm{"replace 32 of 64 by 32", QEL_NGMVPN_ACTION_EXTCOMM_REPLACE, 32, 32, 32},
    ActionForm{"add 1 to none", QEL_NGMVPN_ACTION_EXTCOMM_ADD, 0, 0, 1},
    ActionForm{"add 2 to 2", QEL_NGMVPN_ACTION_EXTCOMM_ADD, 1, 1, 2},
    ActionForm{"add 4 to 8", QEL_NGMVPN_ACTION_EXTCOMM_ADD, 4, 4, 4},
    ActionForm{"add 32 to 64", QEL_NGMVPN_ACTION_EXTCOMM_ADD, 32, 32, 32},
    ActionForm{"delete from none", QEL_NGMVPN_ACTION_EXTCOMM_DELETE, 0, 0, 1},
    ActionForm{"delete 1 of 1", QEL_NGMVPN_ACTION_EXTCOMM_DELETE, 1, 0, 1},
    ActionForm{"delete 2 of 3", QEL_NGMVPN_ACTION_EXTCOMM_DELETE, 2, 1, 1},
    ActionForm{"delete 32 of 64", QEL_NGMVPN_ACTION_EXTCOMM_DELETE, 32, 32, 1},
};

class Action {
public:
    explicit Action(const ActionForm &form)
        : form_(form), family_(*host::find_family(1, 5), kMemHandle),
          route_(intra_route(family_, communities(form.targets, form.others))),
          value_(communities(form.value, 0, 1000)), value_size_(value_.size())
    {
        value_.resize(value_size_ + QEL_MSG_READ_SLACK);
        if (whole()->usAttrLen != result_size() || floor() == nullptr) {
            fail(form.name);
        }
    }

    host::BlockPtr whole()
    {
        QEL_ROUTE_BLOCK_S *block = nullptr;
        if (family_.desc().pfApplyAction(&route_.info(), form_.code, value_.data(),
                                         static_cast<std::uint32_t>(value_size_), &block, family_.ctx()) != QEL_OK ||
            block == nullptr) [[unlikely]] {
            fail(form_.name);
        }
        return host::BlockPtr(block);
    }

    // The action's list copied, the route's list filtered into a cleared buffer, both into a cleared result, that into
    // a cleared block. Sorting is not in it.
    host::BlockPtr floor()
    {
        const std::size_t list_size = route_.info().uiExtCommLen;
        const bool is_delete = form_.code == QEL_NGMVPN_ACTION_EXTCOMM_DELETE;
        const std::size_t added = is_delete ? 0 : value_size_;
        const std::size_t stays = result_size() - added;
        clear_messages(result_size() != 0 ? 3 : 2);
        Scratch host(*this, value_size_);
        memcpy_s(host.data(), value_size_, value_.data(), value_size_);
        if (is_delete) {
            host.give_back();
        }
        const std::uint8_t *staying = route_.info().pucExtComm;
        Scratch temp(*this, form_.code != QEL_NGMVPN_ACTION_EXTCOMM_ADD ? list_size : 0);
        if (temp.data() != nullptr) {
            memset_s(temp.data(), list_size, 0, list_size);
            memcpy_s(temp.data(), list_size, staying, stays);
            staying = temp.data();
        }
        Scratch result(*this, result_size());
        if (result.data() != nullptr) {
            memset_s(result.data(), result_size(), 0, result_size());
            if (stays != 0) {
                memcpy_s(result.data(), result_size(), staying, stays);
            }
            if (added != 0) {
                memcpy_s(result.data() + stays, added, host.data(), added);
            }
        }
        return block_of(result.data());
    }

private:
    // Scratch memory as the contract serves it: the inline buffer once at a time, else the heap; none for a size of 0.
    class Scratch {
    public:
        Scratch(Action &action, std::size_t size) : action_(action)
        {
            if (size != 0 && size <= kInline && !action.inline_lent_) {
                data_ = action.inline_.data();
                action.inline_lent_ = true;
            } else if (size != 0) {
                heap_ = allocate(size);
                data_ = heap_.get();
            }
        }
        ~Scratch() { give_back(); }
        Scratch(const Scratch &) = delete;
        Scratch &operator=(const Scratch &) = delete;

        std::uint8_t *data() const { return data_; }
        void give_back()
        {
            if (data_ == action_.inline_.data()) {
                action_.inline_lent_ = false;
            }
            data_ = nullptr;
            heap_.reset();
        }

    private:
        Action &action_;
        std::uint8_t *data_ = nullptr;
        Buffer heap_;
    };

    std::size_t result_size() const
    {
        const bool is_add = form_.code == QEL_NGMVPN_ACTION_EXTCOMM_ADD;
        const bool is_delete = form_.code == QEL_NGMVPN_ACTION_EXTCOMM_DELETE;
        return (form_.others + (is_add ? form_.targets : 0) + (is_delete ? 0 : form_.value)) * kElement;
    }

    host::BlockPtr block_of(const std::uint8_t *list) const
    {
        const std::size_t size = sizeof(QEL_ROUTE_BLOCK_S) + result_size();
        Buffer block = allocate(size);
        memset_s(block.get(), size, 0, size);
        if (list != nullptr) {
            memcpy_s(block.get() + sizeof(QEL_ROUTE_BLOCK_S), result_size(), list, result_size());
        }
        void *mem = block.release();
        return host::BlockPtr(static_cast<QEL_ROUTE_BLOCK_S *>(mem));
    }

    const ActionForm &form_;
    host::Family family_;
    host::Route route_;
    Bytes value_;
    std::size_t value_size_;
    std::array<std::uint8_t, kInline> inline_{};
    bool inline_lent_ = false;
};

// ---- prefix entry ----

class Entry {
public:
    explicit Entry(std::string_view) : family_(*host::find_family(1, 5), kMemHandle), route_(intra_route(family_, {}))
    {
        if (whole() != QEL_OK || entry_.uiRtpPrefixLen != 32) {
            fail("prefix entry");
        }
    }
    std::uint32_t whole() { return family_.desc().pfConstructRtpEntry(&route_.info(), &entry_); }
    // Its three words.
    std::uint32_t floor()
    {
        entry_.uiRtpAddrType = 0;
        entry_.uiRtpPrefixLen = 32;
        std::memcpy(&entry_.stRtpAddr, route_.info().pucKey + 12, sizeof(std::uint32_t));
        return 0;
    }

private:
    host::Family family_;
    host::Route route_;
    QEL_RTP_ENTRY_S entry_{};
};

std::vector<Line> lines()
{
    static constexpr std::string_view entry_form = "ipv4 originator";
    std::vector<Line> all;
    for (const MatchForm &form : kMatches) {
        all.push_back(
            {"match", std::string(form.name), member<Match, &Match::whole>(form), member<Match, &Match::floor>(form)});
    }
    all.push_back({"prefix entry", std::string(entry_form), member<Entry, &Entry::whole>(entry_form),
                   member<Entry, &Entry::floor>(entry_form)});
    for (const ActionForm &form : kActions) {
        all.push_back({"action", std::string(form.name), member<Action, &Action::whole>(form),
                       member<Action, &Action::floor>(form)});
    }
    return all;
}

} // namespace
} // namespace qel::bench

int main(int argc, char **argv)
{
    return qel::bench::run(argc, argv, qel::bench::lines());
}
