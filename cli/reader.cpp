#include "reader.h"

#include "host/input.h"
#include "host/output.h"

#include <cerrno>
#include <map>
#include <utility>

#include <unistd.h>

namespace qel::cli {
namespace {

constexpr const char *kFilterGroup = "Filters (a route is shown if it agrees with all of them)";

// A choice of one of the names of `values`.
template <class Value>
void add_choice(CLI::App &command, const std::string &name, const std::string &help,
                const std::map<std::string, Value> &values, const std::string &fallback, Value &value)
{
    command
        .add_option_function<std::string>(
            name, [&value, &values](const std::string &text) { value = values.at(text); }, help)
        ->check(CLI::IsMember(&values))
        ->default_str(fallback);
}

template <class Value, class Parse>
void add_filter(CLI::App &command, const std::string &name, const std::string &placeholder, const std::string &help,
                std::optional<Value> &value, Parse parse)
{
    add_parsed(command, name, help, parse, [&value](const Value &parsed) { value = parsed; })
        ->type_name(placeholder)
        ->group(kFilterGroup);
}

} // namespace

void add_reader(CLI::App &command, ReaderArguments &arguments)
{
    static const std::map<std::string, std::optional<host::FamilyKind>> families{
        {"all", std::nullopt},
        {"ng-mvpn", host::FamilyKind::ng_mvpn},
        {"mdt", host::FamilyKind::mdt},
        {"vpnv4-mcast", host::FamilyKind::vpnv4_mcast}};
    static const std::map<std::string, ColourChoice> colours{
        {"auto", ColourChoice::automatic}, {"always", ColourChoice::always}, {"never", ColourChoice::never}};
    static const std::map<std::string, host::LabelChoice> labels{
        {"auto", host::LabelChoice::automatic}, {"yes", host::LabelChoice::with}, {"no", host::LabelChoice::without}};
    add_choice(command, "--family", "Show this address family alone", families, "all", arguments.family);
    add_choice(command, "--vpnv4mcast-labels",
               "Whether VPNv4 multicast routes have an MPLS label; auto: the way that all of an attribute fits", labels,
               "auto", arguments.labels);
    command.add_flag("--json", arguments.json, "One JSON object per line instead of the listing");
    add_choice(command, "--color", "Colours in the listing; auto: on a terminal, unless NO_COLOR is set", colours,
               "auto", arguments.colour);
    command.add_option("FILE", arguments.files, "pcap, pcapng or hex text; - is standard input")->required();
}

void add_filters(CLI::App &command, host::RouteFilter &filter, const std::string &target_option)
{
    add_filter(command, "--type", "N[,N...]", "NG-MVPN route types, 1 to 7", filter.types, host::route_types);
    add_filter(command, "--rd", "RD", "Route distinguisher, such as 65000:99 or 10.0.0.1:5", filter.rd,
               host::canonical_rd);
    add_filter(command, target_option, "RT",
               "A route target of the UPDATE, such as 100:1, 192.0.2.1:5 or 2001:db8::1.7", filter.route_target,
               host::canonical_route_target);
    add_filter(command, "--source", "ADDR", "Source address, or * for the wildcard", filter.source, host::flow_address);
    add_filter(command, "--group", "ADDR", "Group address, or * for the wildcard", filter.group, host::flow_address);
}

void add_component(CLI::App &command, host::Component &component)
{
    static const std::map<std::string, host::Component> components{{"mvpn", host::Component::mvpn},
                                                                   {"mvrf", host::Component::mvrf}};
    add_choice(command, "--component",
               "The router's component that the routes are for: the multicast VPN core, or the VPNs' routing",
               components, "mvpn", component);
}

int run_reader(const ReaderArguments &arguments, host::DecodeOptions options,
               const std::function<bool(host::Output &, const Diagnostic &)> &show,
               const std::function<void(host::Output &, host::DecodeOptions &)> &start)
{
    Terminal terminal;
    host::Output out([](std::string_view text) { host::write_all(STDOUT_FILENO, text); });
    const bool one_terminal = ::isatty(STDOUT_FILENO) != 0 && ::isatty(STDERR_FILENO) != 0;
    std::string_view file;

    options.json = arguments.json;
    options.colour = arguments.coloured();
    options.family = arguments.family;
    options.component = arguments.component;
    options.labels = arguments.labels;
    // Where both streams meet on a terminal, a message stands right below the listing that it belongs to.
    options.diagnostic = [&](std::string_view line) {
        if (one_terminal) {
            out.flush();
        }
        terminal.message(line);
    };
    options.progress = [&](std::uint64_t read, std::uint64_t total) { terminal.progress(file, read, total); };

    if (start) {
        start(out, options);
    }
    const Diagnostic diagnostic = options.diagnostic;
    host::Decoder decoder(std::move(options), out);
    bool all_well = true;
    const auto status = [&] { return all_well && decoder.summary().clean() ? kExitClean : kExitFindings; };
    try {
        for (const std::string &name : arguments.files) {
            file = name;
            all_well = host::read_input(name, decoder) && all_well;
            terminal.clear_progress();
        }
        all_well = show(out, diagnostic) && all_well;
        decoder.finish();
        out.flush();
    } catch (const host::OutputError &error) {
        if (error.code().value() == EPIPE) {
            return status(); // whoever read the listing has seen enough
        }
        terminal.message("cannot write the listing: " + error.code().message());
        return kExitFindings;
    }
    return status();
}

} // namespace qel::cli
