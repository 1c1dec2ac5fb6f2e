// The table of operations as hosts other than the program use it: values by name, pictures in
// memory, chains.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <set>
#include <thread>

#include "host/command_line.h"
#include "host/operations.h"

namespace {

using namespace vorlane::host;

ImagePtr ramp(int rows, int cols, int image_type) {
    auto image = std::make_unique<CImage>(rows, cols, image_type, 0, 4);
    const int count = image_type == 1 ? 3 * cols : cols;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < count; ++j)
            image->pixels[i][j] = static_cast<float>((i * 31 + j * 17) % 256);
    return image;
}

std::string message_of(const std::function<void()>& work) {
    try {
        work();
    } catch (const UsageError& error) {
        return error.what();
    }
    return "";
}

Arguments arguments_of(const char* group, const char* name) {
    return Arguments(find_operation(group, name)->description);
}

// Names tell options apart, defaults are values that the option itself takes, and what an option
// excludes exists.
TEST(Operations, AreDescribedConsistently) {
    std::set<std::string> names;
    for (const Operation* const operation : operations()) {
        const Description& d = operation->description;
        EXPECT_TRUE(names.insert(full_name(d)).second) << full_name(d);
        EXPECT_NE(std::string(d.purpose), "");
        EXPECT_NE(std::string(d.example), "");
        EXPECT_NE(operation->run, nullptr);
        Arguments arguments(d);
        std::set<std::string> options;
        for (const Option& option : d.options) {
            EXPECT_TRUE(options.insert(option.name).second) << full_name(d) << option.name;
            if (*option.excludes) {
                EXPECT_NE(arguments.find(option.excludes), nullptr) << option.name;
            }
            if (*option.initial) {
                EXPECT_NO_THROW(arguments.set(option.name, arguments.texts(option.name)));
            }
        }
    }
}

// Every operation that needs no further argument runs on gray and on colour, in memory, and leaves
// a picture that it was only lent.
TEST(Operations, RunOnPicturesInMemory) {
    for (const Operation* const operation : operations()) {
        const bool is_ready =
            operation->input == Input::picture && message_of([&] {
                                                      Arguments arguments(operation->description);
                                                      arguments.check();
                                                      if (operation->check)
                                                          operation->check(arguments);
                                                  }).empty();
        if (!is_ready)
            continue;
        const Arguments arguments(operation->description);
        for (const int type : {0, 1}) {
            if (type == 0 && std::string(operation->description.name) == "luv")
                continue;
            const ImagePtr original = ramp(23, 31, type);
            const Result own = run_operation(*operation, ramp(23, 31, type), {arguments, "own"});
            ASSERT_TRUE(own.image) << operation->description.name;
            EXPECT_TRUE(own.image->pixels);
            Subject lent(*original);
            operation->run(lent, {arguments, "lent"});
            const ImagePtr fresh = ramp(23, 31, type);
            for (int i = 0; i < 23; ++i)
                ASSERT_EQ(0, memcmp(original->pixels[i], fresh->pixels[i],
                                    sizeof(float) * (type == 1 ? 93 : 31)))
                    << operation->description.name << " changed what it was lent";
        }
    }
}

TEST(Operations, RefuseWithNameAndLimit) {
    Arguments smooth = arguments_of("", "smooth");
    EXPECT_EQ(message_of([&] { smooth.set("sigma", "-2"); }),
              "--sigma must be above 0 and at most 1000; got -2");
    EXPECT_EQ(message_of([&] { smooth.set("sigma", "nan"); }),
              "--sigma must be a number above 0 and at most 1000; got 'nan'");
    EXPECT_EQ(message_of([&] { smooth.set("sigma", "1e99"); }),
              "--sigma must be a number above 0 and at most 1000; got '1e99'");
    EXPECT_EQ(smooth.number("sigma"), 2.0) << "a refused value changes nothing";
    Arguments median = arguments_of("filter", "median");
    EXPECT_NE(message_of([&] { median.set("size", "2.5"); }), "");
    EXPECT_NE(message_of([&] { median.set("size", "99999999999"); }), "");
    Arguments crop = arguments_of("geometry", "crop");
    EXPECT_NE(message_of([&] { crop.check(); }), "");
    EXPECT_EQ(message_of([&] {
                  run_operation(*find_operation("", "edges"), std::make_unique<CImage>(),
                                {arguments_of("", "edges"), "empty"});
              }),
              "the picture has no pixels");
}

TEST(Chains, AreParsedMarkedAndTypedAgain) {
    const std::string typed = "smooth --sigma 3 | edges --low 0.05 --absolute --high 7 | geometry "
                              "crop --rectangle 1 2 3 4";
    const Chain chain = Chain::parse("smooth --sigma=3|edges --low 0.05 --absolute --high '7'\n"
                                     "# a comment\n\n geometry crop --rectangle 1 2 3 4\n");
    ASSERT_EQ(chain.steps().size(), 3u);
    const Chain again = Chain::parse(chain.as_typed());
    EXPECT_EQ(again.as_typed(), chain.as_typed());
    EXPECT_EQ(Chain::parse(typed).as_typed(), chain.as_typed());
    EXPECT_EQ(message_of([] { Chain::parse("smooth | edges --hihg 2 | luv"); }),
              "unknown option '--hihg', did you mean '--high'?\n"
              "  smooth | edges --hihg 2 | luv\n"
              "                 ^~~~~~");
    for (const char* bad :
         {"", "|", "smooth |", "| smooth", "smooth || edges", "smooth 'x", "draw", "smooth extra",
          "edges | raw --rows 1 --cols 1", "edges --stages --low"})
        EXPECT_NE(message_of([&] { Chain::parse(bad); }), "") << bad;
    // Negative numbers are values, and a list takes no more words than it has numbers.
    EXPECT_EQ(
        Chain::parse("geometry translate --shift -1 -2").steps()[0].arguments.integer("shift", 1),
        -2);
    const Chain scale = Chain::parse("geometry scale --factor 2 --plain");
    EXPECT_EQ(scale.steps()[0].arguments.count("factor"), 1);
}

TEST(Chains, RunOnSeveralThreadsAlike) {
    const Chain chain = Chain::parse("smooth --sigma 1.5 | edges --sigma 1 | math invert");
    const auto expected = chain.run(ramp(40, 50, 0), "a", nullptr).image;
    std::vector<std::thread> threads;
    std::atomic<int> differences = 0;
    for (int n = 0; n < 4; ++n) {
        threads.emplace_back([&] {
            const auto image = chain.run(ramp(40, 50, 0), "a", nullptr).image;
            for (int i = 0; i < 40; ++i)
                differences +=
                    memcmp(image->pixels[i], expected->pixels[i], 50 * sizeof(float)) != 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(differences, 0);
}

} // namespace
