// qel-mcast table and qel-mcast policy: the routes that remain when all files are read.
#include "commands.h"
#include "reader.h"

#include "host/show_table.h"

#include <map>
#include <memory>
#include <vector>

namespace qel::cli {
namespace {

int run_table(const ReaderArguments &arguments, host::ShowOptions show)
{
    host::Rib rib;
    show.filter = arguments.filter;
    host::DecodeOptions options;
    options.stats = true;
    options.routes = &rib;
    return run_reader(arguments, std::move(options), [&](host::Output &out, const Diagnostic &diagnostic) {
        show.diagnostic = diagnostic;
        const auto listing =
            arguments.json ? host::make_json_listing(out) : host::make_text_listing(out, arguments.coloured());
        const bool clean = host::show_tables(rib, show, *listing) == 0;
        if (!arguments.json) {
            out.buffer().push_back('\n');
        }
        rib.clear();
        return clean;
    });
}

} // namespace

Command add_table(CLI::App &program)
{
    struct Arguments : ReaderArguments {
        bool match = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App *table = program.add_subcommand(
        "table", "Load the routes into a table and show them in order, with their import cross values");
    add_reader(*table, *arguments);
    add_component(*table, arguments->component);
    table->add_flag("--match", arguments->match, "Add what a routing policy matches each route on");
    add_filters(*table, arguments->filter, "--rt");
    return {table, [arguments] {
                host::ShowOptions show;
                show.cross = true;
                show.match = arguments->match;
                return run_table(*arguments, std::move(show));
            }};
}

Command add_policy(CLI::App &program)
{
    using Kind = host::PolicyAction::Kind;
    static const std::map<std::string, Kind> kinds{
        {"add", Kind::add}, {"replace", Kind::replace}, {"delete", Kind::remove}};
    struct Arguments : ReaderArguments {
        Kind kind = Kind::add;
        std::vector<std::uint8_t> communities;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App *policy = program.add_subcommand(
        "policy", "Load the routes into a table and show what a policy action makes of their communities");
    add_reader(*policy, *arguments);
    policy
        ->add_option_function<std::string>(
            "--action", [arguments](const std::string &name) { arguments->kind = kinds.at(name); },
            "add: the route targets join the list; replace: they take the place of its route targets; delete: its "
            "route targets go")
        ->check(CLI::IsMember(&kinds))
        ->required();
    add_parsed(*policy, "--rt",
               "A route target of the action, such as 100:1, 192.0.2.1:5 or 70000:5; may be given again. add needs one",
               host::route_target_octets,
               [arguments](const std::array<std::uint8_t, host::kCommunitySize> &octets) {
                   arguments->communities.insert(arguments->communities.end(), octets.begin(), octets.end());
               })
        ->type_name("RT")
        ->trigger_on_parse();
    add_filters(*policy, arguments->filter, "--match-rt");
    policy->final_callback([arguments] {
        if (arguments->kind == Kind::add && arguments->communities.empty()) {
            throw CLI::ValidationError("--action add", "needs a route target, --rt");
        }
    });
    return {policy, [arguments] {
                host::ShowOptions show;
                show.action.emplace(arguments->kind, arguments->communities);
                return run_table(*arguments, std::move(show));
            }};
}

} // namespace qel::cli
