// The table of operations as hosts other than the program use it: values by name, pictures in
// memory, chains.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <set>
#include <thread>

#include "host/command_line.h"
#include "host/operations.h"
#include "support/images.h"

namespace {

using namespace vorlane::host;

ImagePtr noise(int rows, int cols, int image_type) {
    return make_random(rows, cols, image_type, 1, true);
}

ImagePtr flat(int rows, int cols, float value) {
    return make_gray(rows, cols, [=](int, int) { return value; });
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
            const ImagePtr original = noise(23, 31, type);
            const Result own = run_operation(*operation, noise(23, 31, type), {arguments, "own"});
            ASSERT_TRUE(own.image) << operation->description.name;
            EXPECT_TRUE(own.image->pixels);
            Subject lent(*original);
            operation->run(lent, {arguments, "lent"});
            EXPECT_EQ(samples_of(*original), samples_of(*noise(23, 31, type)))
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

Result run(const std::string& chain, ImagePtr image) {
    return Chain::parse(chain).run(std::move(image), "picture", nullptr);
}

// A slope of 2 a column: 8 * 2 inside, half of that on the border, where one side is continued.
TEST(Operations, SobelReachesTheBorder) {
    const ImagePtr image = make_gray(6, 9, [](int, int j) { return 2.0f * static_cast<float>(j); });
    const auto natural = run("filter sobel", std::make_unique<CImage>(*image)).image;
    const auto plain = run("filter sobel --plain", std::make_unique<CImage>(*image)).image;
    EXPECT_EQ(natural->pixels[3][4], 16.0f);
    EXPECT_EQ(natural->pixels[0][4], 16.0f);
    EXPECT_EQ(natural->pixels[5][8], 8.0f);
    EXPECT_EQ(plain->pixels[3][4], 16.0f);
    EXPECT_EQ(plain->pixels[0][4], 0.0f);
}

TEST(Operations, ACircleHoldsItsFill) {
    const std::string circle = "draw circle --at 150 150 --radius 120 --value 200";
    const std::string fill = " | draw fill --at 150 150 --value 90 --boundary 200";
    EXPECT_EQ(run(circle + fill, flat(300, 300, 0.0f)).image->pixels[0][0], 0.0f);
    EXPECT_EQ(run(circle + " --plain" + fill, flat(300, 300, 0.0f)).image->pixels[0][0], 90.0f)
        << "the library's own has gaps";
}

TEST(Operations, NoiseHasItsDeviationAndItsSeed) {
    const auto a = run("filter noise --sigma 8 --seed 5", flat(200, 201, 100.0f)).image;
    const auto b = run("filter noise --sigma 8 --seed 5", flat(200, 201, 100.0f)).image;
    const auto c = run("filter noise --sigma 8 --seed 6", flat(200, 201, 100.0f)).image;
    double sum = 0.0;
    double squares = 0.0;
    int differences = 0;
    for (int i = 0; i < 200; ++i) {
        for (int j = 0; j < 201; ++j) {
            const double noise = a->pixels[i][j] - 100.0;
            sum += noise;
            squares += noise * noise;
            ASSERT_EQ(a->pixels[i][j], b->pixels[i][j]);
            differences += a->pixels[i][j] != c->pixels[i][j];
        }
    }
    EXPECT_NEAR(sum / 40200, 0.0, 0.15);
    EXPECT_NEAR(squares / 40200, 64.0, 2.0);
    EXPECT_GT(differences, 40000);
}

// A difference of 1 everywhere: 20 log10 255 dB.
TEST(Operations, ComparisonsCount) {
    Arguments arguments = arguments_of("", "compare");
    arguments.set_picture("B", std::shared_ptr<const CImage>(flat(10, 12, 41.0f)));
    const auto compared = [&](ImagePtr image) {
        return run_operation(*find_operation("", "compare"), std::move(image), {arguments, "a"});
    };
    Result result = compared(flat(10, 12, 40.0f));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.text.find("largest difference 1 at row 0, column 0; mean 1"),
              std::string::npos);
    EXPECT_NE(result.text.find("PSNR 48.13 dB"), std::string::npos) << result.text;
    ImagePtr image = flat(10, 12, 41.0f);
    EXPECT_EQ(compared(std::make_unique<CImage>(*image)).text, "equal\n");
    image->pixels[7][3] = NAN;
    result = compared(std::make_unique<CImage>(*image));
    EXPECT_NE(result.text.find("at row 7, column 3"), std::string::npos) << result.text;
    arguments.set("tolerance", "1");
    EXPECT_EQ(compared(flat(10, 12, 40.0f)).status, 0);
    EXPECT_NE(message_of([&] { compared(flat(10, 11, 41.0f)); }), "");
}

// Marks turn red and nothing else changes; the window maps its ends to 0 and 255.
TEST(Operations, ValuesStayWhatTheyAre) {
    Arguments arguments = arguments_of("math", "superpose");
    ImagePtr marks = flat(4, 5, 0.0f);
    marks->pixels[2][1] = 3.0f;
    arguments.set_picture("B", std::shared_ptr<const CImage>(std::move(marks)));
    const Result marked =
        run_operation(*find_operation("math", "superpose"), flat(4, 5, 77.0f), {arguments, "a"});
    EXPECT_EQ(marked.image->pixels[2][3], 255.0f);
    EXPECT_EQ(marked.image->pixels[2][4], 0.0f);
    EXPECT_EQ(marked.image->pixels[2][0], 77.0f);
    EXPECT_EQ(marked.image->pixels[3][14], 77.0f);
    const auto shown = run("convert --window 50 100", row_of({-50, 0, 50, 100})).image;
    EXPECT_EQ(samples_of(*shown), (Samples{0, 0, 128, 255}));
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
    const auto expected = chain.run(noise(40, 50, 0), "a", nullptr).image;
    std::vector<std::thread> threads;
    std::atomic<int> differences = 0;
    for (int n = 0; n < 4; ++n) {
        threads.emplace_back([&] {
            const auto image = chain.run(noise(40, 50, 0), "a", nullptr).image;
            differences += samples_of(*image) != samples_of(*expected);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(differences, 0);
}

} // namespace
