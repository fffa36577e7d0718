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
      renderer_(options_.json ? make_json_renderer(out, options_.raw)
                              : make_text_renderer(out, options_.colour, options_.raw))
{
    if (options_.stats) {
        renderer_ = make_summary_renderer(std::move(renderer_));
    }
    if (options_.filter.active()) {
        summary_.routes_matched = 0;
    }
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

// Path attributes tell of the routes that are announced: they belong to the family of MP_REACH_NLRI, and to that of
// MP_UNREACH_NLRI where no family of ours announces.
Decoder::Survey Decoder::survey(Octets attributes, std::size_t base, Carrier carrier) const
{
    Survey out;
    AttributeList list(attributes, base);
    for (PathAttribute attribute; list.next(attribute);) {
        if (!is_mp(attribute.type)) {
            continue;
        }
        const MpAttribute mp = split_mp(attribute);
        const FamilyInfo *info = find_family(mp.afi, mp.safi);
        if (!wanted(info)) {
            continue;
        }
        out.shown = true;
        const Family *family = instance(*info);
        if (out.owner == nullptr && is_announcement(mp)) {
            out.attributes_shown = true;
        }
        if (family != nullptr && (out.owner == nullptr || is_announcement(mp))) {
            out.owner = family;
            out.attributes_shown = is_announcement(mp);
        }
    }
    if (!out.shown && carrier == Carrier::bare_attribute) {
        out.owner = instance(*find_family(kAfiIpv4, kSafiMcastVpn)); // nothing tells which family it was meant for
        out.attributes_shown = out.owner != nullptr;
    }
    return out;
}

// The attributes tell of the routes, wherever these stand: two passes over the list.
void Decoder::decode(const Origin &origin, Octets attributes, std::size_t base, Carrier carrier)
{
    origin_ = &origin;
    matched_ = 0;
    const Survey found = survey(attributes, base, carrier);
    const bool open = found.shown || carrier == Carrier::bare_attribute;
    if (open) {
        renderer_->begin_update(origin);
        read_attributes(found, attributes, base);
    } else {
        ++summary_.updates_without_family;
    }
    AttributeList list(attributes, base);
    for (PathAttribute attribute; list.next(attribute);) {
        if (is_mp(attribute.type)) {
            decode_mp(attribute);
        }
    }
    if (list.malformed()) {
        note_malformed(*list.malformed());
    }
    if (open) {
        end_update(found);
    }
    give_diagnostics();
    report_malformed(origin, carrier);
}

void Decoder::read_attributes(const Survey &survey, Octets attributes, std::size_t base)
{
    attributes_.reset(survey.owner);
    attribute_troubles_.clear();
    AttributeList list(attributes, base);
    for (PathAttribute attribute; list.next(attribute);) {
        if (is_mp(attribute.type)) {
            continue;
        }
        if (options_.raw) {
            attributes_.add_wire(attribute);
        }
        if (survey.owner != nullptr) {
            offer(*survey.owner, attribute);
        }
    }
    if (survey.attributes_shown) {
        renderer_->attributes(attributes_);
    }
    for (const Trouble &trouble : attribute_troubles_) {
        renderer_->attribute_trouble(trouble);
    }
    targets_match_ = options_.filter.accepts_targets(attributes_);
}

void Decoder::end_update(const Survey &survey)
{
    bool keep = survey.shown || !attribute_troubles_.empty() || !attributes_.empty();
    if (options_.filter.active()) {
        keep = matched_ != 0;
        summary_.updates_without_match += survey.shown && !keep ? 1U : 0U;
        *summary_.routes_matched += matched_;
    }
    summary_.updates_shown += keep ? 1U : 0U;
    renderer_->end_update(keep);
    attributes_.reset(nullptr);
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
    const std::uint64_t matched_before = matched_;
    renderer_->begin_nlri(*info, mp);
    summary_.end_of_rib += is_end_of_rib(mp) ? 1U : 0U;
    if (const Family *family = instance(*info)) {
        decode_nlri(*family, mp);
    } else {
        ++summary_.not_decoded;
    }
    renderer_->end_nlri(!options_.filter.active() || matched_ != matched_before);
}

void Decoder::decode_nlri(const Family &family, const MpAttribute &mp)
{
    AttributeWalk walk(family, mp.attribute, mp.nlri);
    for (WalkStep step; walk.next(step);) {
        if (step.kind == WalkStep::Kind::block) {
            show_route(mp, step);
        } else {
            renderer_->trouble(note_trouble(step, mp.attribute, mp.nlri_offset));
        }
    }
}

// An announced route is expanded with the attributes of its UPDATE, a withdrawn one has none.
void Decoder::show_route(const MpAttribute &mp, WalkStep &step)
{
    const std::size_t offset = mp.nlri_offset + step.offset;
    std::optional<NgMvpnRoute> values;
    if (is_announcement(mp)) {
        attributes_.route().add(std::move(step.block));
        values = ng_mvpn_route(attributes_.info());
    } else {
        values = ng_mvpn_route(Route(std::move(step.block)).info());
    }
    if (!values) {
        note_malformed({offset, "the family gave a route without a key"});
        return;
    }
    Summary::RouteCount &count = summary_.routes[values->type];
    ++(is_announcement(mp) ? count.announced : count.withdrawn);
    if (matches(mp, *values)) {
        ++matched_;
        renderer_->route(offset, step.octets, *values);
    }
}

bool Decoder::matches(const MpAttribute &mp, const NgMvpnRoute &route) const
{
    const bool has_target = !options_.filter.route_target || (is_announcement(mp) && targets_match_);
    return has_target && options_.filter.accepts(route);
}

void Decoder::offer(const Family &family, const PathAttribute &attribute)
{
    ++summary_.attributes_offered;
    AttributeWalk walk(family, attribute.type, attribute.value);
    for (WalkStep step; walk.next(step);) {
        switch (step.kind) {
        case WalkStep::Kind::block:
            if (!attributes_.add(std::move(step.block))) {
                note_malformed({attribute.offset, "a path attribute a second time; the first one counts"});
            }
            break;
        case WalkStep::Kind::not_carried:
            ++summary_.tunnels_not_carried;
            attributes_.add_not_carried({attribute.value_offset, attribute.value});
            break;
        default:
            attribute_troubles_.push_back(note_trouble(step, attribute.type, attribute.value_offset));
            break;
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
    default:
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
