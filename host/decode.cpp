#include "host/decode.h"

#include "host/family_words.h"
#include "host/platform/platform.h"

#include <fmt/compile.h>

#include <utility>

namespace qel::host {
namespace {

bool is_mp(std::uint8_t attribute_type)
{
    return attribute_type == kAttrMpReach || attribute_type == kAttrMpUnreach;
}

// Whether the family takes all of the octets for routes. Memory for these is another matter.
bool fits(const Family &family, std::uint32_t nlri_type, Octets nlri)
{
    AttributeWalk walk(family, nlri_type, nlri);
    for (WalkStep step; walk.next(step);) {
        if (step.kind != WalkStep::Kind::block && step.kind != WalkStep::Kind::lost) {
            return false;
        }
    }
    return true;
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
            families_.emplace_back(info, options_.mem_handle, options_.component);
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
        out.owner = families_.empty() ? nullptr : &families_.front(); // nothing tells which family it was meant for
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
    std::optional<AttributeView> view = attributes_.view();
    targets_match_ = !options_.filter.route_target || (view && options_.filter.accepts_targets(*view));
    attributes_owner_ = survey.owner;
    shared_.reset();
    if (options_.routes != nullptr && survey.attributes_shown) {
        std::vector<BlockPtr> blocks = attributes_.take_blocks();
        shared_ = blocks.empty() ? nullptr : std::make_shared<AttributeBlocks>(std::move(blocks));
    }
}

void Decoder::end_update(const Survey &survey)
{
    bool keep = survey.shown || !attribute_troubles_.empty() || !attributes_.empty() || shared_ != nullptr;
    if (options_.filter.active()) {
        keep = matched_ != 0;
        summary_.updates_without_match += survey.shown && !keep ? 1U : 0U;
        *summary_.routes_matched += matched_;
    }
    summary_.updates_shown += keep ? 1U : 0U;
    renderer_->end_update(keep);
    attributes_.reset(nullptr);
    shared_.reset();
}

void Decoder::decode_mp(const PathAttribute &attribute)
{
    MpAttribute mp = split_mp(attribute);
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
    const Family *family = instance(*info);
    mp.labels = family != nullptr ? labels_of(*family, mp) : Labels::none_known;
    renderer_->begin_nlri(*info, mp);
    summary_.end_of_rib += is_end_of_rib(mp) ? 1U : 0U;
    if (family != nullptr) {
        decode_nlri(*family, mp);
    } else {
        ++summary_.not_decoded;
    }
    renderer_->end_nlri(!options_.filter.active() || matched_ != matched_before);
}

Labels Decoder::labels_of(const Family &family, const MpAttribute &mp) const
{
    if (family.info().kind != FamilyKind::vpnv4_mcast || mp.nlri.empty()) {
        return Labels::none_known;
    }
    if (options_.labels != LabelChoice::automatic) {
        return options_.labels == LabelChoice::with ? Labels::with : Labels::without;
    }
    const bool with = fits(family, mp.attribute, mp.nlri);
    const bool without = fits(family, kNlriWithoutLabels, mp.nlri);
    if (with == without) {
        return with ? Labels::with_either : Labels::with_neither;
    }
    return with ? Labels::with : Labels::without;
}

void Decoder::decode_nlri(const Family &family, const MpAttribute &mp)
{
    AttributeWalk walk(family, mp.nlri_type(), mp.nlri);
    for (WalkStep step; walk.next(step);) {
        if (step.kind == WalkStep::Kind::block) {
            take_route(family, mp, step);
        } else {
            renderer_->trouble(note_trouble(step, mp.attribute, mp.nlri_offset));
        }
    }
}

void Decoder::take_route(const Family &family, const MpAttribute &mp, WalkStep &step)
{
    const std::size_t offset = mp.nlri_offset + step.offset;
    StoredRoute route(std::move(step.block));
    const std::optional<RouteValues> values = family_words(family.info().kind).route(route.info());
    if (!values) {
        note_malformed({offset, "the family gave a route without a key"});
        return;
    }
    Summary::RouteCount &count = summary_.routes[route_form(*values)];
    ++(is_announcement(mp) ? count.announced : count.withdrawn);
    if (matches(mp, *values)) {
        ++matched_;
        renderer_->route(offset, step.octets, *values);
        give_route(family, mp, offset, std::move(route));
    }
}

// An announced route has the attributes of its UPDATE, a withdrawn one has none.
void Decoder::give_route(const Family &family, const MpAttribute &mp, std::size_t offset, StoredRoute route)
{
    if (options_.routes == nullptr || !options_.routes->takes(family.info().kind)) {
        return;
    }
    options_.routes->place(*origin_, mp, offset);
    if (!is_announcement(mp)) {
        options_.routes->withdraw(family, route);
        return;
    }
    if (&family == attributes_owner_) {
        route.set_attributes(shared_);
    }
    options_.routes->announce(family, std::move(route));
}

bool Decoder::matches(const MpAttribute &mp, const RouteValues &route) const
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

// Counts the trouble and writes its line.
Trouble Decoder::note_trouble(const WalkStep &step, std::uint8_t attribute, std::size_t base)
{
    const Trouble trouble{step.kind, attribute, step.code, base + step.offset, step.octets};
    append_place(diagnostics_, *origin_);
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
    append_place(diagnostics_, origin);
    const bool on_line = origin.unit == Origin::Unit::line;
    if (origin.in_file || (origin.number != 0 && (!on_line || origin.offset != 0))) {
        const std::string_view counted = origin.in_file ? "file octet" : on_line ? "column" : "stream octet";
        fmt::format_to(fmt::appender(diagnostics_), FMT_COMPILE("{} {} {}"), origin.number != 0 ? "," : ":", counted,
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
