// Decodes BGP messages through the address families and shows what they hold.
#pragma once

#include "host/attributes.h"
#include "host/family.h"
#include "host/filter.h"
#include "host/input.h"
#include "host/render.h"
#include "host/update.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qel::host {

struct DecodeOptions {
    bool json = false;
    bool colour = false;
    bool raw = false;   // with octets
    bool stats = false; // the summary alone
    RouteFilter filter;
    std::optional<FamilyKind> family; // only this one; nothing: all
    std::uint32_t mem_handle = 1;     // everything that the families allocate
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
    void show_route(const MpAttribute &mp, WalkStep &step);
    bool matches(const MpAttribute &mp, const NgMvpnRoute &route) const;
    void offer(const Family &family, const PathAttribute &attribute);
    void end_update(const Survey &survey);
    Trouble note_trouble(const WalkStep &step, std::uint8_t attribute, std::size_t base);
    void note_malformed(const Malformed &malformed) { malformed_.push_back(malformed); }
    void report_malformed(const Origin &origin, Carrier carrier);
    void add_place(const Origin &origin);
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
    std::vector<Trouble> attribute_troubles_;
    bool targets_match_ = true;
    std::uint64_t matched_ = 0; // routes of the UPDATE
    std::vector<Malformed> malformed_;
    Buffer diagnostics_; // lines
};

} // namespace qel::host
