// The table of operations: what the program's sub-commands, chains, batches, the viewer and the
// Python module can do to a picture. Each operation is described once, with its options, their
// ranges and defaults, an example and the function that does the work; help, man pages, completions
// and panels are made from that.
//
// An operation works in memory. It is given one picture, arguments that were checked, and gives a
// picture, or text for the reader, and whatever else its options ask for. Operations may run on
// several threads at once, on pictures of their own. They throw Error, or UsageError for arguments
// without a meaning.
#pragma once

#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/error.h"
#include "host/messages.h"
#include "host/pictures.h"

namespace vorlane::host {

enum class Kind {
    flag,
    integer,
    number,
    choice,
    text,
    path,    // a file that is read
    picture, // a picture that is read
    output,  // a file that is written
    folder   // a folder that is written to, and made if it isn't there
};

// An option of a command, or an argument that its place tells.
struct Option {
    const char* name = ""; // without the dashes
    Kind kind = Kind::flag;
    const char* purpose = ""; // a sentence without a full stop
    const char* values = "";  // what stands for the values in a help text; empty: by the kind
    const char* initial = ""; // the default as it is typed; empty: none
    double low = -std::numeric_limits<double>::infinity();
    double high = std::numeric_limits<double>::infinity();
    bool excludes_low = false;
    const char* choices = ""; // of a choice: "x|y"
    int least = 1;            // number of values
    int most = 1;
    bool is_required = false;
    const char* excludes = ""; // another option that may not stand beside it
    const char* alias = "";    // a second name that is understood, and not shown
    const char* unit = "";     // "pixels"
};

// What help, man pages and completions tell of a command.
struct Description {
    const char* group = ""; // "filter" of `filter median`; empty: none
    const char* name = "";
    const char* purpose = ""; // a sentence without a full stop
    const char* notes = "";   // paragraphs of one line each
    const char* example = ""; // what is typed behind "vorlane GROUP NAME "
    std::span<const Option> places = {};
    std::span<const Option> options = {};
};

// The name as it is typed: "filter median".
std::string full_name(const Description& description);

// The values of a command's options and places. All texts are checked when they are set.
class Arguments {
public:
    // The defaults. Keeps the description, which must outlive it.
    explicit Arguments(const Description& description);

    const Description& description() const { return *description_; }

    // Throws UsageError with the name and the limit: "--sigma must be above 0 ...; got -2".
    void set(std::string_view name, const std::vector<std::string>& values);
    void set(std::string_view name, const std::string& value) { set(name, std::vector{value}); }
    void set_flag(std::string_view name);
    // A picture in memory for an option of that kind.
    void set_picture(std::string_view name, std::shared_ptr<const CImage> image);

    // What is required is there, and nothing that excludes another; throws UsageError.
    void check() const;

    // Reads the pictures that options name; before the operation runs, once for many runs.
    void open_pictures(const OpenOptions& options);

    // An option by its name or its alias, or null.
    const Option* find(std::string_view name) const;

    bool is_given(std::string_view name) const; // not the default
    bool has(std::string_view name) const;      // given, or there is a default
    bool flag(std::string_view name) const { return is_given(name); }
    int integer(std::string_view name, int index = 0) const;
    double number(std::string_view name, int index = 0) const;
    int count(std::string_view name) const;               // values
    const std::string& text(std::string_view name) const; // the first value, or empty
    const CImage* picture(std::string_view name) const;   // null if there is none
    std::vector<std::string> texts(std::string_view name) const;

    // What differs from the defaults, as one types it: "--sigma 4 --axis y", quoted for a shell.
    std::string as_typed() const;

private:
    struct Entry {
        const Option* option = nullptr;
        bool is_place = false;
        bool is_given = false;
        std::vector<std::string> texts = {};
        std::vector<double> numbers = {};
        std::shared_ptr<const CImage> image = nullptr;
    };
    const Entry* entry(std::string_view name) const;
    const Entry& known(std::string_view name) const;
    Entry& known(std::string_view name);
    static void assign(Entry& entry, const std::vector<std::string>& values);

    const Description* description_;
    std::vector<Entry> entries_;
};

// A word that a shell hands on as it is.
std::string quoted(const std::string& word);

// The picture that an operation works on: lent by the host, or its own, which is used up.
class Subject {
public:
    explicit Subject(const CImage& lent) : image_(&lent) {}
    explicit Subject(ImagePtr own) : own_(std::move(own)), image_(own_.get()) {}

    const CImage& operator*() const { return *image_; }
    const CImage* operator->() const { return image_; }

    // To change and to give back: the picture itself if it may be used up, else a copy. The subject
    // stays readable as long as what is returned here.
    ImagePtr take();

private:
    ImagePtr own_;
    const CImage* image_;
};

// What else an operation is told, and asks of its host.
struct Call {
    const Arguments& arguments;
    std::string name;              // of the picture, for messages and titles
    const Picture* file = nullptr; // what is known of the file that it comes from
    std::function<void(int done, int count)> progress = {}; // may throw to end the work
};

// A further picture or text that an option asked for.
struct Further {
    const char* option = ""; // of the kinds output or folder
    std::string name;        // in the folder
    ImagePtr image;
    std::string text; // in place of an image
    std::string path; // the option's value, with the name behind it if that is a folder
};

struct Result {
    ImagePtr image;
    std::string text; // what it tells
    std::vector<Further> further;
    std::optional<Depth> depth; // asked for by the operation's own options
    int status = 0;             // what the program exits with
};

enum class Input { picture, file };
enum class Output { picture, text };

struct Operation {
    Description description;
    Input input = Input::picture; // of a file operation, Call::name is the path
    Output output = Output::picture;
    Result (*run)(Subject& subject, const Call& call) = nullptr;
    void (*check)(const Arguments& arguments) = nullptr; // beyond single options; UsageError
};

// All of them, in the order in which help shows them.
std::span<const Operation* const> operations();

// Null if there is none; `group` is empty for those without.
const Operation* find_operation(std::string_view group, std::string_view name);

// Groups of commands and what they are for.
struct Group {
    const char* name;
    const char* purpose;
};
std::span<const Group> groups();

// Checks the arguments and runs the operation. `picture` is used up; an operation that only tells
// gives it back as its result's image.
Result run_operation(const Operation& operation, ImagePtr picture, const Call& call);

} // namespace vorlane::host
