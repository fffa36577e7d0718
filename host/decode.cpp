#include "host/decode.h"

#include "host/platform/platform.h"

#include <fmt/compile.h>

#include <utility>

namespace qel::host {
namespace {

constexpr std::uint16_t kAfiIpv4 = 1;
constexpr std::uint8_t kSafiMcastVpn = 5;

bool is_mp(std::uint8_t attribute_type)
{
    return attribute_type == kAttrMpReach || attribute_type == kAttrMpUnreach;
}

} // namespace

Decoder::Decoder(DecodeOptions options, Output &out)
    : options_(std::move(options)), blocks_before_(platform::usage(options_.mem_handle).live_blocks),
      assertions_before_(platform::assert_count()),
      renderer_(options_.json ? make_json_renderer(out) : make_text_renderer(out, options_.colour))
{
    for (const FamilyInfo &info : known_families()) {
        if (info.decodable() && wanted(&info)) {
            families_.emplace_back(info, options_.mem_handle);
        }
    }
}

void Decoder::message(const Origin &origin, Octets octets)
{
    if (octets.size() < kBgpHeaderSize) {
        problem(origin, "shorter than a BGP header");
        return;
    }
    const std::uint8_t type = octets[kBgpHeaderSize - 1];
    ++summary_.messages[type < summary_.messages.size() ? type : 0];
    if (type != static_cast<std::uint8_t>(BgpType::update)) {
        return;
    }
    const UpdateFrame frame = split_update(octets);
    if (frame.malformed) {
        note_malformed(*frame.malformed);
        report_malformed(origin, Carrier::update);
        return;
    }
    decode(origin, frame.attributes, frame.attributes_offset, Carrier::update);
}

void Decoder::attribute(const Origin &origin, Octets octets)
{
    ++summary_.bare_attributes;
    decode(origin, octets, 0, Carrier::bare_attribute);
}

void Decoder::progress(std::uint64_t octets_read, std::uint64_t octets_total)
{
    if (options_.progress) {
        options_.progress(octets_read, octets_total);
    }
}

bool Decoder::wanted(const FamilyInfo *info) const
{
    return info != nullptr && (!options_.family || *options_.family == info->kind);
}

const Family *Decoder::instance(const FamilyInfo &info) const
{
    for (const Family &family : families_) {
        if (&family.info() == &info) {
            return &family;
        }
    }
    return nullptr;
}

bool Decoder::shows_anything(Octets attributes, std::size_t base) const
{
    AttributeList list(attributes, base);
    for (PathAttribute attribute; list.next(attribute);) {
        if (is_mp(attribute.type)) {
            const MpAttribute mp = split_mp(attribute);
            if (wanted(find_family(mp.afi, mp.safi))) {
                return true;
            }
        }
    }
    return false;
}

// Path attributes tell of the routes that are announced: they belong to the family of MP_REACH_NLRI, and to that of
// MP_UNREACH_NLRI where no family of ours announces.
const Family *Decoder::owner_of_attributes(Octets attributes, std::size_t base) const
{
    const Family *owner = nullptr;
    AttributeList list(attributes, base);
    for (PathAttribute attribute; list.next(attribute);) {
        if (!is_mp(attribute.type)) {
            continue;
        }
        const MpAttribute mp = split_mp(attribute);
        const FamilyInfo *info = find_family(mp.afi, mp.safi);
        const Family *family = info != nullptr ? instance(*info) : nullptr;
        if (family != nullptr && (owner == nullptr || attribute.type == kAttrMpReach)) {
            owner = family;
        }
    }
    return owner;
}

void Decoder::decode(const Origin &origin, Octets attributes, std::size_t base, Carrier carrier)
{
    origin_ = &origin;
    const bool shown = shows_anything(attributes, base);
    const Family *owner = nullptr;
    if (shown) {
        ++summary_.updates_shown;
        owner = owner_of_attributes(attributes, base);
        open_update();
    } else if (carrier == Carrier::update) {
        ++summary_.updates_without_family;
    } else {
        owner = instance(*find_family(kAfiIpv4, kSafiMcastVpn)); // nothing tells which family it was meant for
    }
    AttributeList list(attributes, base);
    for (PathAttribute attribute; list.next(attribute);) {
        if (is_mp(attribute.type)) {
            decode_mp(attribute);
        } else if (owner != nullptr) {
            offer(*owner, attribute);
        }
    }
    if (list.malformed()) {
        note_malformed(*list.malformed());
    }
    if (std::exchange(open_, false)) {
        renderer_->end_update();
    }
    give_diagnostics();
    report_malformed(origin, carrier);
}

void Decoder::open_update()
{
    if (!std::exchange(open_, true)) {
        renderer_->begin_update(*origin_);
    }
}

void Decoder::decode_mp(const PathAttribute &attribute)
{
    const MpAttribute mp = split_mp(attribute);
    const FamilyInfo *info = find_family(mp.afi, mp.safi);
    if (mp.malformed) {
        if (wanted(info) || (mp.afi == 0 && mp.safi == 0)) {
            note_malformed(*mp.malformed);
        }
        return;
    }
    if (!wanted(info)) {
        return;
    }
    renderer_->begin_nlri(*info, mp);
    summary_.end_of_rib += is_end_of_rib(mp) ? 1U : 0U;
    if (const Family *family = instance(*info)) {
        decode_nlri(*family, mp);
    } else {
        ++summary_.not_decoded;
    }
    renderer_->end_nlri();
}

void Decoder::decode_nlri(const Family &family, const MpAttribute &mp)
{
    AttributeWalk walk(family, mp.attribute, mp.nlri);
    for (WalkStep step; walk.next(step);) {
        if (step.kind == WalkStep::Kind::block) {
            show_route(mp, mp.nlri_offset + step.offset, std::move(step.block));
        } else {
            renderer_->trouble(note_trouble(step, mp.attribute, mp.nlri_offset));
        }
    }
}

void Decoder::show_route(const MpAttribute &mp, std::size_t offset, BlockPtr block)
{
    const Route route(std::move(block));
    const std::optional<NgMvpnRoute> values = ng_mvpn_route(route.info());
    if (!values) {
        note_malformed({offset, "the family gave a route without a key"});
        return;
    }
    Summary::RouteCount &count = summary_.routes[values->type];
    ++(is_announcement(mp) ? count.announced : count.withdrawn);
    renderer_->route(offset, *values);
}

void Decoder::offer(const Family &family, const PathAttribute &attribute)
{
    ++summary_.attributes_offered;
    AttributeWalk walk(family, attribute.type, attribute.value);
    for (WalkStep step; walk.next(step);) {
        if (step.kind != WalkStep::Kind::block) {
            open_update();
            renderer_->attribute_trouble(note_trouble(step, attribute.type, attribute.value_offset));
        }
    }
}

void Decoder::add_place(const Origin &origin)
{
    append_visible(diagnostics_, origin.file);
    if (origin.number != 0) {
        fmt::format_to(fmt::appender(diagnostics_), FMT_COMPILE(": {} {}"), unit_name(origin.unit), origin.number);
    }
}

// Counts the trouble and writes its line.
Trouble Decoder::note_trouble(const WalkStep &step, std::uint8_t attribute, std::size_t base)
{
    const Trouble trouble{step.kind, attribute, step.code, base + step.offset, step.octets};
    add_place(*origin_);
    fmt::format_to(fmt::appender(diagnostics_), FMT_COMPILE(", octet {}: "), trouble.offset);
    switch (step.kind) {
    case WalkStep::Kind::refused:
        ++summary_.refused[step.code];
        fmt::format_to(fmt::appender(diagnostics_), FMT_COMPILE("{} refused, 0x{:x}, {}"), attribute_name(attribute),
                       step.code, code_meaning(step.code));
        break;
    case WalkStep::Kind::lost:
        ++summary_.lost;
        append(diagnostics_, "route lost, out of memory");
        break;
    case WalkStep::Kind::unread:
    case WalkStep::Kind::block:
        ++summary_.unread;
        fmt::format_to(fmt::appender(diagnostics_), FMT_COMPILE("{} not read to its end, octets left: {}"),
                       attribute_name(attribute), step.octets.size());
        break;
    }
    diagnostics_.push_back('\n');
    return trouble;
}

void Decoder::report_malformed(const Origin &origin, Carrier carrier)
{
    const std::string_view whole = carrier == Carrier::update ? "message" : "attribute";
    for (const Malformed &malformed : std::exchange(malformed_, {})) {
        problem(origin, fmt::format(FMT_COMPILE("octet {} of the {}: {}"), malformed.offset, whole, malformed.text));
    }
}

void Decoder::problem(const Origin &origin, std::string_view text)
{
    ++summary_.problems;
    renderer_->problem(origin, text);
    add_place(origin);
    const bool on_line = origin.unit == Origin::Unit::line;
    if (origin.number != 0 && (!on_line || origin.offset != 0)) {
        fmt::format_to(fmt::appender(diagnostics_), FMT_COMPILE(", {} {}"), on_line ? "column" : "stream octet",
                       origin.offset);
    }
    append(diagnostics_, ": ");
    append_visible(diagnostics_, text);
    diagnostics_.push_back('\n');
    give_diagnostics();
}

void Decoder::give_diagnostics()
{
    std::string_view lines(diagnostics_.data(), diagnostics_.size());
    while (options_.diagnostic && !lines.empty()) {
        const std::size_t end = lines.find('\n');
        options_.diagnostic(lines.substr(0, end));
        lines.remove_prefix(end + 1);
    }
    diagnostics_.clear();
}

void Decoder::finish()
{
    families_.clear();
    summary_.blocks_leaked = platform::usage(options_.mem_handle).live_blocks - blocks_before_;
    summary_.assertions = platform::assert_count() - assertions_before_;
    renderer_->summary(summary_);
}

} // namespace qel::host
