// The lines of JSON, in which one process hands a result to another and which scripts/lib/bench_results.py reads.
#include "bench_report.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "support/temporary_folder.h"

namespace {

class BenchReportTest : public testing::Test {
protected:
    std::string write(const BenchResult& result, const std::string& origin = "") const
    {
        BenchReport report;
        report.add(result);
        report.writeJsonLines(mFile, origin);
        std::ifstream file{std::filesystem::path(mFile), std::ios::binary};
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TemporaryFolder mFolder;
    const std::wstring mFile = mFolder.path() + L"\\results.json";
};

}  // namespace

TEST_F(BenchReportTest, Line_HoldsValueSpreadAndRounds)
{
    EXPECT_EQ(write({"name", {0.5, 0.25, 9}, "ratio", 0.75, "higher"}),
              R"({"name":"name","value":0.5,"spread":0.25,"rounds":9,"unit":"ratio","goal":0.75,"better":"higher"})"
              "\n");
}

TEST_F(BenchReportTest, Line_SaysNullWithoutSpreadOrGoal)
{
    EXPECT_EQ(write({"name", {0.5, {}, 1}, "MiB", {}, "lower"}),
              R"({"name":"name","value":0.5,"spread":null,"rounds":1,"unit":"MiB","goal":null,"better":"lower"})"
              "\n");
}

TEST_F(BenchReportTest, Line_SaysWhenAndWhereItWasMeasured)
{
    const std::string line = write({"name", {0.5, 0.25, 9}, "ratio", 0.75, "higher"}, "22 November 2026: 2 cores");
    EXPECT_NE(line.find(R"(,"origin":"22 November 2026: 2 cores"})"), std::string::npos) << line;
}

TEST_F(BenchReportTest, Line_IsReadBackAsItWas)
{
    write({"name", {0.5, 0.25, 9}, "ratio", 0.75, "higher"});
    const BenchResult whole = readJsonLine(mFile);
    EXPECT_EQ(whole.name, "name");
    EXPECT_EQ(whole.rounds.median, 0.5);
    EXPECT_EQ(whole.rounds.spread, 0.25);
    EXPECT_EQ(whole.rounds.count, 9U);
    EXPECT_EQ(whole.unit, "ratio");
    EXPECT_EQ(whole.goal, 0.75);
    EXPECT_EQ(whole.better, "higher");

    write({"name", {0.5, {}, 1}, "MiB", {}, "lower"});
    const BenchResult bare = readJsonLine(mFile);
    EXPECT_FALSE(bare.rounds.spread);
    EXPECT_FALSE(bare.goal);
}

TEST_F(BenchReportTest, MissingFileIsRefused)
{
    EXPECT_THROW(readJsonLine(mFolder.path() + L"\\missing.json"), std::runtime_error);
}
