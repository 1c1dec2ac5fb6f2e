#include "host/batch.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include <vorlane/platform/system_paths.h>

#include "host/platform/files.h"

namespace vorlane::host {

namespace {

namespace fs = std::filesystem;

// Of a path that isn't standard input or output.
bool has_id(const std::string& path, FileId& id) {
    return path != "-" && id_of(path, id);
}

// "scans/a.tif:3" is a-3.
std::string stem_of(const std::string& in) {
    if (in == "-")
        return "standard-input";
    const auto [path, page] = split_page(in);
    return utf8_of(path_of(path).stem()) + (page > 0 ? "-" + std::to_string(page) : "");
}

bool is_pattern(const std::string& to) {
    return to.find('%') != std::string::npos;
}

std::string with_name(const std::string& pattern, const std::string& name) {
    std::string result;
    for (std::size_t k = 0; k < pattern.size(); ++k) {
        const char next = pattern[k] == '%' && k + 1 < pattern.size() ? pattern[k + 1] : '\0';
        if (next == 'n')
            result += name;
        else if (next == '%')
            result += '%';
        else if (pattern[k] == '%')
            throw UsageError(pattern + ": %n stands for the name of a picture, %% for a per cent "
                                       "sign, and no other letter may follow a per cent sign");
        else
            result += pattern[k];
        k += next != '\0';
    }
    return result;
}

void make_folder_of(const std::string& path) {
    const fs::path folder = path_of(path).parent_path();
    std::error_code error;
    if (!folder.empty())
        fs::create_directories(folder, error);
    if (error)
        throw Error(utf8_of(folder) + ": can't be made: " + error.message());
}

std::vector<std::string> pictures_in(const std::string& folder) {
    std::vector<std::string> found;
    std::error_code error;
    for (fs::directory_iterator at(path_of(folder), error), end; !error && at != end;
         at.increment(error)) {
        const std::string path = utf8_of(at->path());
        std::error_code ignored;
        const bool is_named_so = is_picture_path(path) || at->path().extension() == ".dcm";
        if (is_named_so && at->is_regular_file(ignored))
            found.push_back(path);
    }
    if (error)
        throw Error(folder + ": can't be read: " + error.message());
    if (found.empty())
        throw Error(folder + ": there is no picture in this folder");
    std::sort(found.begin(), found.end());
    return found;
}

bool is_done(const BatchItem& item) {
    std::error_code error;
    const auto made = fs::last_write_time(path_of(item.out), error);
    if (error)
        return false;
    const auto changed = fs::last_write_time(path_of(split_page(item.in).first), error);
    return !error && made > changed;
}

bool is_disk_full(const std::string& path) {
    std::error_code error;
    const fs::path folder = path_of(path).parent_path();
    const auto space = fs::space(folder.empty() ? "." : folder, error);
    constexpr std::uintmax_t next_to_nothing = 1 << 16;
    return !error && space.available < next_to_nothing;
}

void save_text(const std::string& text, const std::string& path) {
    PendingFile file(path);
    std::ofstream stream(path_of(file.path()), std::ios::binary);
    stream << text;
    stream.close();
    if (!stream)
        throw Error(path + ": can't be written");
    file.commit();
}

bool is_folder_option(const Chain& chain, const char* option) {
    for (const Step& step : chain.steps()) {
        const Option* const found = step.arguments.find(option);
        if (found && found->kind == Kind::folder)
            return true;
    }
    return false;
}

std::string further_path(const Further& further, const Chain& chain, const std::string& stem,
                         bool is_one_of_many) {
    if (!is_one_of_many)
        return further.path;
    if (is_pattern(further.path))
        return with_name(further.path, stem);
    const fs::path path = path_of(further.path);
    return is_folder_option(chain, further.option)
               ? utf8_of(path.parent_path() / path_of(stem) / path.filename())
               : further.path;
}

std::string message_of(const std::string& name, const std::string& what) {
    return what.compare(0, name.size() + 1, name + ":") == 0 ? what : name + ": " + what;
}

// Files of options of one picture, and what the steps have left.
class Writer {
public:
    Writer(const BatchItem& item, const BatchOptions& options, Outcome& outcome)
        : options_(options), outcome_(outcome) {
        has_id_ = has_id(split_page(item.in).first, id_);
    }

    void save(const CImage& image, const std::string& path, const SaveOptions& save_options) {
        FileId id;
        if (!options_.force && has_id_ && has_id(path, id) && id == id_)
            throw UsageError(path + ": is an input and isn't overwritten; --force does it");
        save_picture(image, path, save_options,
                     [this](const std::string& note) { outcome_.notes.push_back(note); });
    }

private:
    const BatchOptions& options_;
    Outcome& outcome_;
    FileId id_{};
    bool has_id_ = false;
};

std::string ending_of_steps(const BatchItem& item, const BatchOptions& options,
                            const CImage& image) {
    const fs::path named = path_of(item.out);
    std::string ending = !options.save.as.empty()                     ? "." + options.save.as
                         : !item.out.empty() && named.has_extension() ? utf8_of(named.extension())
                                                                      : ".tq";
    if (ending == ".pgm" && image.image_type == ImageType::colour)
        ending = ".ppm";
    return ending;
}

} // namespace

std::vector<std::string> expand_inputs(const std::vector<std::string>& paths) {
    std::vector<std::string> all;
    for (const std::string& path : paths) {
        std::error_code error;
        if (path != "-" && fs::is_directory(path_of(path), error)) {
            const std::vector<std::string> found = pictures_in(path);
            all.insert(all.end(), found.begin(), found.end());
        } else if (path.find_first_of("*?[") != std::string::npos &&
                   !fs::exists(path_of(path), error)) {
            const std::vector<std::string> found = paths_like(path);
            all.insert(all.end(), found.begin(), found.end());
            if (found.empty())
                throw Error(path + ": no file has such a name");
        } else {
            all.push_back(path);
        }
    }
    return all;
}

std::string output_path(const std::string& in, const std::string& to, const std::string& as) {
    if (is_pattern(to))
        return with_name(to, stem_of(in));
    const std::string path = split_page(in).first;
    const std::string ending = as.empty() ? utf8_of(path_of(path).extension()) : "." + as;
    return utf8_of(path_of(to) / path_of(stem_of(in) + ending));
}

void check_batch(const std::vector<BatchItem>& items, const Chain& chain,
                 const BatchOptions& options) {
    std::set<FileId> inputs;
    FileId id;
    for (const BatchItem& item : items) {
        if (has_id(split_page(item.in).first, id))
            inputs.insert(id);
    }
    const auto check_output = [&](const std::string& path) {
        if (!options.force && has_id(path, id) && inputs.count(id) != 0)
            throw UsageError(path + ": is an input and isn't overwritten; --force does it");
    };
    for (const Step& step : chain.steps()) {
        for (const Option& option : step.arguments.description().places) {
            if (option.kind == Kind::picture && step.arguments.is_given(option.name) &&
                has_id(split_page(step.arguments.text(option.name)).first, id))
                inputs.insert(id);
        }
        for (const Option& option : step.arguments.description().options) {
            if (!step.arguments.is_given(option.name))
                continue;
            const std::string& value = step.arguments.text(option.name);
            if (option.kind == Kind::picture && has_id(split_page(value).first, id))
                inputs.insert(id);
            if (option.kind == Kind::output && items.size() > 1 && !is_pattern(value))
                throw UsageError(std::string("--") + option.name +
                                 " needs %n in the name for several pictures, as in '" +
                                 utf8_of(path_of(value).parent_path() /
                                         path_of("%n-" + utf8_of(path_of(value).filename()))) +
                                 "'");
            if (option.kind == Kind::output)
                check_output(value);
        }
    }
    std::map<std::string, const BatchItem*> outputs;
    for (const BatchItem& item : items) {
        if (item.out.empty())
            continue;
        if (item.out != "-" && options.save.as.empty() && !is_picture_path(item.out))
            throw UsageError(item.out + ": the ending names no format that can be written; " +
                             (items.size() > 1 ? "--as names one" : "see vorlane --version"));
        check_output(item.out);
        const std::string path = utf8_of(path_of(item.out).lexically_normal());
        const auto [other, is_new] = outputs.emplace(path, &item);
        if (!is_new)
            throw UsageError(item.in + " and " + other->second->in + " would both be written to " +
                             item.out);
    }
}

Outcome process(const BatchItem& item, const Chain& chain, const BatchOptions& options,
                bool is_one_of_many, const std::function<void(int, int)>& progress) {
    Outcome outcome;
    const std::string name = item.in == "-" ? "standard input" : item.in;
    try {
        Picture picture;
        const bool is_read = chain.input() == Input::picture;
        if (is_read)
            picture = open_picture(item.in, options.open);
        const bool has_words = is_read && picture.image->pixel_format == PixelFormat::int16;
        const int source_bits = has_words ? 16 : 0;
        const std::string stem = stem_of(item.in);
        Writer writer(item, options, outcome);
        Chain::Stage stage;
        if (!options.keep_steps.empty()) {
            stage = [&](int step, const CImage& image) {
                const Description& description =
                    chain.steps()[static_cast<std::size_t>(step) - 1].operation->description;
                const std::string path = options.keep_steps + "/" + stem + "-" +
                                         std::to_string(step) + "-" + description.name +
                                         ending_of_steps(item, options, image);
                make_folder_of(path);
                SaveOptions save = options.save;
                save.source_bits = source_bits;
                save.gray = false;
                writer.save(image, path, save);
            };
        }
        ImagePtr image = std::move(picture.image);
        const Result result = chain.run(std::move(image), is_read ? name : item.in,
                                        is_read ? &picture : nullptr, progress, stage);
        for (const Further& further : result.further) {
            const std::string path = further_path(further, chain, stem, is_one_of_many);
            if (path != further.path || is_folder_option(chain, further.option))
                make_folder_of(path);
            if (further.image)
                writer.save(*further.image, path, {});
            else
                save_text(further.text, path);
        }
        outcome.text = result.text;
        outcome.status = result.status;
        if (!item.out.empty()) {
            SaveOptions save = options.save;
            save.source_bits = source_bits;
            if (save.depth == Depth::automatic && result.depth)
                save.depth = *result.depth;
            if (is_one_of_many || options.makes_folders)
                make_folder_of(item.out);
            writer.save(*result.image, item.out, save);
        }
    } catch (const UsageError& error) {
        throw UsageError(message_of(name, error.what()));
    } catch (const Error& error) {
        const std::string what = error.what();
        throw Error(!item.out.empty() && what.compare(0, item.out.size() + 1, item.out + ":") == 0
                        ? what
                        : message_of(name, what));
    } catch (const std::bad_alloc&) {
        throw Error(name + ": there is not enough memory");
    }
    return outcome;
}

BatchReport run_batch(const std::vector<BatchItem>& items, const Chain& chain,
                      const BatchOptions& options, const BatchListener& listener) {
    BatchReport report;
    std::vector<const BatchItem*> todo;
    for (const BatchItem& item : items) {
        if (options.resume && is_done(item))
            ++report.left_out;
        else
            todo.push_back(&item);
    }
    std::map<std::size_t, Failure> failures;
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> is_ended = false;
    std::mutex mutex;
    std::size_t behind = 0;
    const auto work = [&] {
        while (!is_ended) {
            const std::size_t k = next++;
            if (k >= todo.size())
                return;
            const BatchItem& item = *todo[k];
            Outcome outcome;
            Failure failure;
            bool is_full = false;
            try {
                outcome = process(item, chain, options, items.size() > 1);
            } catch (const UsageError& error) {
                failure = {error.what(), true};
            } catch (const std::exception& error) {
                failure = {error.what(), false};
                is_full = !item.out.empty() && is_disk_full(item.out);
            }
            const std::lock_guard lock(mutex);
            ++behind;
            if (is_full)
                is_ended = true;
            if (failure.message.empty()) {
                ++report.done;
                report.status = std::max(report.status, outcome.status);
                if (listener.finished)
                    listener.finished(item, outcome);
            } else {
                failures.emplace(k, std::move(failure));
            }
            if (listener.progress)
                listener.progress(behind, todo.size(), item.in);
        }
    };
    std::vector<std::thread> others;
    const auto jobs = std::min(static_cast<std::size_t>(std::max(options.jobs, 1)), todo.size());
    for (std::size_t k = 1; k < jobs; ++k)
        others.emplace_back(work);
    work();
    for (std::thread& other : others)
        other.join();
    for (auto& [k, failure] : failures)
        report.failures.push_back(std::move(failure));
    report.not_reached = todo.size() - behind;
    return report;
}

} // namespace vorlane::host
