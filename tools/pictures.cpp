// Commands on pictures: one, or many at once.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

#include <vorlane/platform/system_paths.h>

#include "commands.h"
#include "host/batch.h"
#include "host/platform/program.h"
#include "progress.h"

using namespace vorlane::host;

namespace {

void print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

BatchOptions options_of(const Arguments& common) {
    BatchOptions options;
    options.open.allow_truncated = common.flag("allow-truncated");
    options.open.scanner = common.flag("scanner");
    options.save.as = common.text("as");
    options.save.depth = parse_depth(common.text("depth"));
    options.save.range = RangeRule::parse(common.text("range"));
    options.save.gray = common.flag("gray");
    options.save.quality = common.integer("quality");
    options.force = common.flag("force");
    options.makes_folders = common.is_given("to");
    options.resume = common.flag("resume");
    options.jobs = common.is_given("jobs")
                       ? common.integer("jobs")
                       : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    return options;
}

// Only one of the words that stand where pictures do is a file.
bool stands_for_many(const std::string& path) {
    std::error_code error;
    return path != "-" && (std::filesystem::is_directory(vorlane::path_of(path), error) ||
                           (path.find_first_of("*?[") != std::string::npos &&
                            !std::filesystem::exists(vorlane::path_of(path), error)));
}

std::vector<BatchItem> items_of(const Chain& chain, const Arguments& common,
                                std::vector<std::string> places, const std::string& batch_option) {
    std::vector<BatchItem> items;
    if (chain.output() == Output::text) {
        if (places.empty())
            throw UsageError("IN is missing (a picture)");
        for (std::string& in : expand_inputs(places))
            items.push_back({std::move(in), ""});
        return items;
    }
    if (common.is_given("to")) {
        if (places.empty())
            throw UsageError("IN is missing (a picture, a folder or a pattern)");
        for (std::string& in : expand_inputs(places)) {
            std::string out = output_path(in, common.text("to"), common.text("as"));
            items.push_back({std::move(in), std::move(out)});
        }
        return items;
    }
    if (places.size() < 2)
        throw UsageError(places.empty() ? "IN and OUT are missing" : "OUT is missing");
    if (places.size() > 2 || stands_for_many(places[0]))
        throw UsageError("several pictures need --" + batch_option +
                         " with a folder or a pattern to write to");
    items.push_back({places[0], places[1]});
    return items;
}

int run_one(const BatchItem& item, const Chain& chain, const BatchOptions& options, bool is_quiet) {
    Outcome outcome;
    {
        std::unique_ptr<ProgressBar> bar;
        outcome = process(item, chain, options, false, [&](int done, int count) {
            if (is_quiet)
                return;
            if (!bar)
                bar = std::make_unique<ProgressBar>("working", count);
            bar->show(done);
        });
    }
    print(outcome.text);
    for (const std::string& note : outcome.notes) {
        if (!is_quiet)
            std::fprintf(stderr, "%s\n", note.c_str());
    }
    return outcome.status;
}

int run_many(const std::vector<BatchItem>& items, const Chain& chain, BatchOptions options,
             bool is_quiet) {
    if (chain.output() == Output::text)
        options.jobs = 1; // in order
    std::string first_note;
    std::size_t noted = 0;
    BatchListener listener;
    listener.finished = [&](const BatchItem&, const Outcome& outcome) {
        print(outcome.text);
        if (!outcome.notes.empty() && noted++ == 0)
            first_note = outcome.notes.front();
    };
    const bool is_shown = !is_quiet && is_error_watched();
    if (is_shown) {
        listener.progress = [](std::size_t behind, std::size_t count, const std::string& name) {
            std::fprintf(stderr, "\r\033[K%zu of %zu  %.60s", behind, count, name.c_str());
        };
    }
    const BatchReport report = run_batch(items, chain, options, listener);
    if (is_shown)
        std::fputs("\r\033[K", stderr);
    if (!is_quiet && noted > 0)
        std::fprintf(stderr, "values of %zu pictures were changed to fit; the first: %s\n", noted,
                     first_note.c_str());
    for (const Failure& failure : report.failures)
        std::fprintf(stderr, "vorlane: %s\n", failure.message.c_str());
    if (report.not_reached > 0)
        std::fprintf(stderr,
                     "vorlane: the disk is full: %zu pictures are written whole, %zu "
                     "aren't written\n",
                     report.done, report.failures.size() + report.not_reached);
    else if (!report.failures.empty())
        std::fprintf(stderr, "vorlane: %zu of %zu pictures failed\n", report.failures.size(),
                     items.size());
    return report.failures.empty() ? report.status : 1;
}

int run_pictures(Chain chain, const BatchOptions& options, const Arguments& common,
                 const std::vector<BatchItem>& items) {
    check_batch(items, chain, options);
    chain.open_pictures(options.open);
    const bool is_quiet = common.flag("quiet");
    const bool is_left_out = options.resume && items.size() == 1;
    return items.size() == 1 && !is_left_out ? run_one(items[0], chain, options, is_quiet)
                                             : run_many(items, chain, options, is_quiet);
}

std::string read_text(const std::string& path) {
    std::ifstream file(vorlane::path_of(path), std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        throw Error(path + ": can't be read");
    return text;
}

} // namespace

std::string chain_text(const std::string& typed) {
    return typed.rfind('@', 0) == 0 ? read_text(typed.substr(1)) : typed;
}

int run_operation_command(const Operation& operation, Arguments arguments, const Arguments& common,
                          const std::vector<std::string>& places) {
    std::vector<std::string> pictures = places;
    const auto seconds = operation.description.places;
    const bool has_out = operation.output == Output::picture && !common.is_given("to");
    if (!seconds.empty()) { // A B OUT, or A... B with --to
        const std::size_t behind = has_out ? 1 : 0;
        if (pictures.size() < 1 + seconds.size() + behind)
            throw UsageError(pictures.empty()       ? "A is missing (a picture)"
                             : pictures.size() == 1 ? "B is missing (a picture)"
                                                    : "OUT is missing");
        const auto at = pictures.end() - static_cast<std::ptrdiff_t>(behind + seconds.size());
        for (std::size_t k = 0; k < seconds.size(); ++k)
            arguments.set(seconds[k].name, at[static_cast<std::ptrdiff_t>(k)]);
        pictures.erase(at, at + static_cast<std::ptrdiff_t>(seconds.size()));
        if (operation.output == Output::text && pictures.size() > 1)
            throw UsageError("two pictures are compared, not " +
                             std::to_string(pictures.size() + 1));
    }
    arguments.check();
    if (operation.check)
        operation.check(arguments);
    bool takes_to = false;
    for (const Option& option : operation.description.options)
        takes_to = takes_to || std::string(option.name) == "to";
    const BatchOptions options = options_of(common);
    Chain chain = Chain::of(operation, std::move(arguments));
    const auto items = items_of(chain, common, std::move(pictures), takes_to ? "into" : "to");
    return run_pictures(std::move(chain), options, common, items);
}

int run_chain_command(const std::string& typed, const std::string& keep_steps,
                      const Arguments& common, const std::vector<std::string>& places) {
    Chain chain = Chain::parse(chain_text(typed));
    BatchOptions options = options_of(common);
    options.keep_steps = keep_steps;
    const auto items = items_of(chain, common, places, "to");
    return run_pictures(std::move(chain), options, common, items);
}
