// Decodes BGP messages through the address families and shows what they hold.
#pragma once

#include "host/attributes.h"
#include "host/family.h"
#include "host/filter.h"
#include "host/input.h"
#include "host/render.h"
#include "host/route_table.h"
#include "host/update.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qel::host {

// Takes the routes that a decoder reads.
class RouteSink {
public:
    virtual ~RouteSink() = default;
    // Routes of which families; as long as a sink says nothing else, those of NG-MVPN.
    virtual bool takes(FamilyKind kind) const { return kind == FamilyKind::ng_mvpn; }
    // Where the route that comes next stands: its UPDATE, the attribute in it, and its first octet in the message.
    virtual void place(const Origin & /* origin */, const MpAttribute & /* mp */, std::size_t /* offset */) {}
    // Announced, with the attributes of the UPDATE, which all its routes share; null if there are none. The family
    // stays until the decoder's finish(), and so has the route to go by then.
    virtual void announce(const Family &family, StoredRoute route) = 0;
    virtual void withdraw(const Family &family, const StoredRoute &route) = 0;
};

// Whether routes of VPNv4 multicast are taken to have a label; automatic: the way that all octets of an attribute fit,
// with labels where both or none do.
enum class LabelChoice : std::uint8_t { automatic, with, without };

struct DecodeOptions {
    bool json = false;
    bool colour = false;
    bool raw = false;   // with octets
    bool stats = false; // the summary alone
    RouteFilter filter;
    RouteSink *routes = nullptr;      // gets those that agree with the filter
    std::optional<FamilyKind> family; // only this one; nothing: all
    Component component = Component::mvpn;
    LabelChoice labels = LabelChoice::automatic;
    std::uint32_t mem_handle = 1; // everything that the families allocate
    // Every refusal and every problem as one line without its newline, behind the UPDATE that it belongs to.
    std::function<void(std::string_view)> diagnostic;
    std::function<void(std::uint64_t read, std::uint64_t total)> progress;
};

class Decoder final : public InputSink {
public:
    Decoder(DecodeOptions options, Output &out);

    void message(const Origin &origin, Octets octets) override;
    void attribute(const Origin &origin, Octets octets) override;
    void problem(const Origin &origin, std::string_view text) override;
    void progress(std::uint64_t octets_read, std::uint64_t octets_total) override;

    // Ends the families, settles the accounts and shows the summary. Once, at the very end.
    void finish();

    const Summary &summary() const { return summary_; }

private:
    enum class Carrier : std::uint8_t { update, bare_attribute };
    // What stands to be shown of a list of path attributes.
    struct Survey {
        bool shown = false;            // there are routes of a family that is asked for
        const Family *owner = nullptr; // to whom the other attributes belong
        bool attributes_shown = false; // there are routes that these attributes tell of
    };

    bool wanted(const FamilyInfo *info) const;
    const Family *instance(const FamilyInfo &info) const;
    Survey survey(Octets attributes, std::size_t base, Carrier carrier) const;
    void decode(const Origin &origin, Octets attributes, std::size_t base, Carrier carrier);
    void read_attributes(const Survey &survey, Octets attributes, std::size_t base);
    void decode_mp(const PathAttribute &attribute);
    void decode_nlri(const Family &family, const MpAttribute &mp);
    void take_route(const Family &family, const MpAttribute &mp, WalkStep &step);
    void give_route(const Family &family, const MpAttribute &mp, std::size_t offset, StoredRoute route);
    bool matches(const MpAttribute &mp, const RouteValues &route) const;
    Labels labels_of(const Family &family, const MpAttribute &mp) const;
    void offer(const Family &family, const PathAttribute &attribute);
    void end_update(const Survey &survey);
    Trouble note_trouble(const WalkStep &step, std::uint8_t attribute, std::size_t base);
    void note_malformed(const Malformed &malformed) { malformed_.push_back(malformed); }
    void report_malformed(const Origin &origin, Carrier carrier);
    void give_diagnostics();

    DecodeOptions options_;
    std::uint64_t blocks_before_;
    std::uint64_t assertions_before_;
    std::vector<Family> families_;
    std::unique_ptr<Renderer> renderer_;
    Summary summary_;

    // The UPDATE at work.
    const Origin *origin_ = nullptr;
    UpdateAttributes attributes_;
    const Family *attributes_owner_ = nullptr; // whose announced routes have shared_
    SharedAttributes shared_;
    std::vector<Trouble> attribute_troubles_;
    bool targets_match_ = true;
    std::uint64_t matched_ = 0; // routes of the UPDATE
    std::vector<Malformed> malformed_;
    Buffer diagnostics_; // lines
};

} // namespace qel::host
