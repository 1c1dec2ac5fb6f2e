// Results have the checksums of table.txt, whatever machine, compiler and instruction set this runs with.
//
//   test_exactness                   checks every instruction set of the processor
//   test_exactness --table           prints the table as it would be
//   test_exactness --samples=FILE    writes the samples behind it too, and
//   test_exactness --against=FILE    names the first that differs from those of another build

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <exactness/operators.h>
#include <vorlane/filters/ridges.h>

namespace {

using Numbers = std::vector<std::uint32_t>;

std::string samples_file;   // to write
std::string reference_file; // to compare with

std::string written(std::uint64_t checksum) {
    std::ostringstream text;
    text << std::hex << std::setw(16) << std::setfill('0') << checksum;
    return text.str();
}

// Lines of a checksum and a name.
std::map<std::string, std::string> read_table() {
    std::map<std::string, std::string> table;
    std::ifstream file(VORLANE_EXACTNESS_TABLE);
    std::string checksum;
    std::string name;
    while (file >> checksum && std::getline(file >> std::ws, name))
        table[name] = checksum;
    return table;
}

// The samples of each operator behind its name, as a line, and their number.
std::map<std::string, Numbers> read_samples() {
    std::map<std::string, Numbers> all;
    std::ifstream file(reference_file, std::ios::binary);
    std::string name;
    std::uint64_t count = 0;
    while (std::getline(file, name) && file.read(reinterpret_cast<char*>(&count), sizeof count)) {
        Numbers& numbers = all[name];
        numbers.resize(static_cast<std::size_t>(count));
        file.read(reinterpret_cast<char*>(numbers.data()),
                  static_cast<std::streamsize>(count * sizeof numbers[0]));
    }
    return all;
}

void write_samples(std::ofstream& file, const std::string& name, const Numbers& numbers) {
    const std::uint64_t count = numbers.size();
    file << name << '\n';
    file.write(reinterpret_cast<const char*>(&count), sizeof count);
    file.write(reinterpret_cast<const char*>(numbers.data()),
               static_cast<std::streamsize>(count * sizeof numbers[0]));
}

Record record_of(const Operator& each, bool has_odd_host = false) {
    Record record(has_odd_host);
    each.run(record);
    return record;
}

// Where `record` leaves the reference.
std::string difference(const Record& record, const Numbers& reference) {
    const Numbers& found = record.samples();
    std::size_t k = 0;
    while (k < found.size() && k < reference.size() && found[k] == reference[k])
        ++k;
    if (k == found.size() && k == reference.size())
        return "none";
    std::ostringstream text;
    text << record.place_of(k) << ": ";
    for (const Numbers& numbers : {found, reference}) {
        if (k < numbers.size())
            text << std::bit_cast<float>(numbers[k]) << " (" << std::hex << numbers[k] << ") ";
        else
            text << "nothing ";
    }
    return text.str();
}

TEST(Exactness, ResultsAreThoseOfTheTable) {
    const auto table = read_table();
    const auto reference = read_samples();
    std::ofstream samples;
    if (!samples_file.empty())
        samples.open(samples_file, std::ios::binary);
    const std::vector<Operator> operators = exact_operators();
    EXPECT_EQ(operators.size(), table.size());
    for (const Operator& each : operators) {
        SCOPED_TRACE(each.name);
        ASSERT_TRUE(vorlane::force_instruction_set(vorlane::InstructionSet::plain));
        const Record plain = record_of(each);
        with_each_instruction_set([&] {
            if (vorlane::active_instruction_set() == vorlane::InstructionSet::plain)
                return;
            const Record record = record_of(each);
            EXPECT_TRUE(record.samples() == plain.samples())
                << "differs from the plain set in " << difference(record, plain.samples());
        });
        const Record odd = record_of(each, true);
        EXPECT_TRUE(odd.samples() == plain.samples())
            << "depends on the host's arithmetic in " << difference(odd, plain.samples());
        const auto expected = table.find(each.name);
        EXPECT_TRUE(expected != table.end() && expected->second == written(plain.checksum()))
            << written(plain.checksum()) << " isn't the checksum of the table";
        if (const auto other = reference.find(each.name); other != reference.end()) {
            EXPECT_EQ(difference(plain, other->second), "none");
        }
        if (samples)
            write_samples(samples, each.name, plain.samples());
    }
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    SetRidgeProgress([](int, float, void*) {}, nullptr);
    for (int k = 1; k < argc; ++k) {
        const std::string argument = argv[k];
        if (argument == "--table") {
            for (const Operator& each : exact_operators())
                std::cout << written(record_of(each).checksum()) << ' ' << each.name << '\n';
            return 0;
        }
        if (argument.starts_with("--samples="))
            samples_file = argument.substr(std::strlen("--samples="));
        if (argument.starts_with("--against="))
            reference_file = argument.substr(std::strlen("--against="));
    }
    return RUN_ALL_TESTS();
}
