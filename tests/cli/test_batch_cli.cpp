// `quillmark validate` on batches: folder arguments, --jobs, the closing summary line,
// and --output-dir; stdout, stderr and the exit status together.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include <filesystem>
#include <regex>

#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::CommandResult;
using testing::runCli;
using testing::sourcePath;
using testing::textLines;
using Lines = std::vector<std::string>;

const std::string kRules = sourcePath("examples/rules/invoice-basics.sch");
const std::string kValid = sourcePath("examples/invoice-valid.xml");
const std::string kBadArithmetic = sourcePath("examples/invoice-bad-arithmetic.xml");
const std::string kMissingFields = sourcePath("examples/invoice-missing-fields.xml");

// The summary line's time varies from run to run: "(0.3 s)" becomes "(T s)".
std::string withoutTime(const std::string& stderrText) {
    static const std::regex time(R"(\(\d+\.\d s\)(\r?\n))");
    return std::regex_replace(stderrText, time, "(T s)$1");
}

// Runs the tool with stderr on a new pseudo-terminal (stdout to a file); gives what the
// terminal received, line breaks as a terminal writes them ("\r\n").
std::string stderrOnATerminal(const std::vector<std::string>& arguments, const std::string& stdoutFile) {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0 || ::grantpt(terminal) != 0 || ::unlockpt(terminal) != 0) return "no pseudo-terminal";
    const auto quoted = [](const std::string& word) { return "'" + word + "'"; };
    std::string command = quoted(QUILLMARK_CLI_PATH);
    for (const std::string& argument : arguments) command += " " + quoted(argument);
    command += " >" + quoted(stdoutFile) + " 2>" + quoted(::ptsname(terminal));
    const int status = std::system(command.c_str());
    std::string received = WIFEXITED(status) ? "" : "the tool did not exit";
    ::fcntl(terminal, F_SETFL, O_NONBLOCK);
    char buffer[4096];
    for (ssize_t n; (n = ::read(terminal, buffer, sizeof buffer)) > 0;) received.append(buffer, static_cast<size_t>(n));
    ::close(terminal);
    return received;
}

// Every file below the directory, by path relative to it, with its text.
std::map<std::string, std::string> filesBelow(const std::string& directory) {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file())
            files[std::filesystem::relative(entry.path(), directory).string()] = testing::readFile(entry.path());
    }
    return files;
}

class BatchCliTest : public testing::TempDirectoryTest {
protected:
    // A folder of `count` documents: valid, two kinds of invalid, malformed, and of
    // another document type, in turn.
    std::string writeMixedFolder(const std::string& name, int count) {
        const std::vector<std::string> kinds{testing::readFile(kValid), testing::readFile(kBadArithmetic),
                                             testing::readFile(kMissingFields), "<Invoice>\n  <unclosed>\n",
                                             "<Order xmlns='urn:example:order'/>"};
        for (int i = 0; i < count; ++i) {
            const std::string file = name + (i % 3 == 0 ? "/part" + std::to_string(i % 2) + "/" : "/") + "doc" +
                                     std::to_string(100 + i) + ".xml";
            write(file, kinds[static_cast<size_t>(i) % kinds.size()]);
        }
        write(name + "/README.txt", "not a document");
        return path(name);
    }
};

// Below a folder, every .xml file (in any case) is validated, in byte order of the
// path ("sub-x.xml" before "sub/c.xml"); a directory reached twice through symbolic
// links, or a link back up, is walked once.
TEST_F(BatchCliTest, FolderArgumentsAreWalkedRecursivelyInPathOrder) {
    write("batch/b.xml", testing::readFile(kValid));
    write("batch/a.XML", testing::readFile(kBadArithmetic));
    write("batch/notes.txt", "not xml");
    write("batch/sub-x.xml", testing::readFile(kValid));
    write("batch/sub/c.xml", testing::readFile(kMissingFields));
    write("batch/sub/deeper/d.xml", testing::readFile(kValid));
    write("batch/sub/deeper/d.xml.bak", "<not-looked-at/>");
    ASSERT_EQ(::symlink(path("batch").c_str(), path("batch/sub/loop").c_str()), 0);
    ASSERT_EQ(::symlink("deeper", path("batch/sub/again").c_str()), 0);

    const auto textOf = [](const std::string& file) { return runCli({"validate", "--schema", kRules, file}).out; };
    const std::string expectedOut = textOf(path("batch/a.XML")) + textOf(path("batch/b.xml")) +
                                    textOf(path("batch/sub-x.xml")) + textOf(path("batch/sub/again/d.xml")) +
                                    textOf(path("batch/sub/c.xml"));
    CommandResult result = runCli({"validate", "--jobs", "2", "--schema", kRules, path("batch")});
    EXPECT_EQ(result.out, expectedOut);
    EXPECT_EQ(withoutTime(result.err), "5 files: 3 valid, 2 invalid, 0 not validated (T s)\n");
    EXPECT_EQ(result.exitCode, 1);
    // "batch/" names the same files.
    EXPECT_EQ(runCli({"validate", "--schema", kRules, path("batch/")}).out, expectedOut);

    // Folders and files mix; a missing path stays one file that is not validated.
    CommandResult mixed =
        runCli({"validate", "--schema", kRules, path("batch/sub/deeper"), path("gone.xml"), path("batch/sub/c.xml")});
    EXPECT_EQ(mixed.out, textOf(path("batch/sub/deeper/d.xml")) + path("gone.xml") + ": not validated\n" +
                             textOf(path("batch/sub/c.xml")));
    EXPECT_EQ(withoutTime(mixed.err), path("gone.xml") + ": cannot read " + path("gone.xml") +
                                          ": No such file or directory\n"
                                          "3 files: 1 valid, 1 invalid, 1 not validated (T s)\n");
    EXPECT_EQ(mixed.exitCode, 2);
}

// A summary closes a batch of more than one file, or what a folder stood for, even a
// single file; one file named alone has none.
TEST_F(BatchCliTest, SummaryLineClosesBatchesOnly) {
    write("one/only.xml", testing::readFile(kValid));
    write("empty/notes.txt", "");
    testing::expectCliRuns({
        {{"validate", "--schema", kRules, kValid}, kValid + ": valid\n", "", 0},
        {{"validate", "--schema", kRules, kMissingFields}, runCli({"validate", "--schema", kRules, kMissingFields}).out,
         "", 1},
    });
    CommandResult folder = runCli({"validate", "--schema", kRules, path("one")});
    EXPECT_EQ(folder.out, path("one/only.xml") + ": valid\n");
    EXPECT_EQ(withoutTime(folder.err), "1 file: 1 valid, 0 invalid, 0 not validated (T s)\n");
    EXPECT_EQ(folder.exitCode, 0);
    // A folder without documents is named: nothing was checked there.
    CommandResult empty = runCli({"validate", "--schema", kRules, path("empty"), kValid});
    EXPECT_EQ(empty.out, kValid + ": valid\n");
    EXPECT_EQ(withoutTime(empty.err), path("empty") + ": no .xml files in this folder\n"
                                                      "1 file: 1 valid, 0 invalid, 0 not validated (T s)\n");
    EXPECT_EQ(empty.exitCode, 2);
}

// The output of a batch is the same on four threads as on one, byte for byte, in every
// format and profile, with named schemas and with schema directories.
TEST_F(BatchCliTest, ParallelRunsGiveTheOutputOfASequentialRun) {
    const std::string folder = writeMixedFolder("mixed", 20);
    write("rules/invoice-basics.sch", testing::readFile(kRules));
    const Lines missing{path("absent-1.xml"), path("absent-2.xml")};
    struct Mode {
        std::vector<std::string> options;
        std::string summary;
    };
    // Documents of another type fit no schema of the directory.
    const std::vector<Mode> modes{
        {{"--schema", kRules}, "22 files: 8 valid, 8 invalid, 6 not validated (T s)\n"},
        {{"--schemas", path("rules")}, "22 files: 4 valid, 8 invalid, 10 not validated (T s)\n"},
        {{"--semantics", "compatible", "--schema", kRules}, "22 files: 8 valid, 8 invalid, 6 not validated (T s)\n"},
        {{"--semantics", "compatible", "--schemas", path("rules")},
         "22 files: 4 valid, 8 invalid, 10 not validated (T s)\n"},
    };
    for (const Mode& mode : modes) {
        for (const std::string format : {"text", "json", "svrl"}) {
            SCOPED_TRACE(testing::commandLine(mode.options) + " " + format);
            std::vector<CommandResult> runs;
            std::vector<std::map<std::string, std::string>> reports;
            for (const std::string jobs : {"1", "4"}) {
                std::vector<std::string> arguments{"validate", "--jobs", jobs, "--format", format};
                arguments.insert(arguments.end(), mode.options.begin(), mode.options.end());
                const std::string reportDirectory = path("reports-" + format + jobs);
                if (format == "svrl") arguments.insert(arguments.end(), {"--output-dir", reportDirectory});
                arguments.insert(arguments.end(), {missing[0], folder, missing[1]});
                runs.push_back(runCli(arguments));
                if (format == "svrl") reports.push_back(filesBelow(reportDirectory));
            }
            EXPECT_EQ(runs[0].out, runs[1].out);
            EXPECT_EQ(withoutTime(runs[0].err), withoutTime(runs[1].err));
            EXPECT_EQ(runs[0].exitCode, 2);
            EXPECT_EQ(runs[1].exitCode, 2);
            EXPECT_TRUE(withoutTime(runs[1].err).ends_with(mode.summary)) << runs[1].err;
            if (format == "svrl") {
                EXPECT_EQ(runs[1].out, "");
                ASSERT_EQ(reports[1].size(), 22u);
                EXPECT_EQ(reports[0], reports[1]);
            } else {
                EXPECT_EQ(textLines(runs[1].out).back().find(missing[1]) != std::string::npos, true) << runs[1].out;
            }
        }
    }
}

// With --output-dir each document gets a report file of its own, named after it; the
// folders below a folder argument are kept, and a name taken twice (in any case) gets
// a number.
TEST_F(BatchCliTest, OutputDirectoryHoldsOneReportPerDocument) {
    write("batch/invoice-valid.xml", testing::readFile(kValid));
    write("batch/Invoice-Valid.xml", testing::readFile(kMissingFields));
    write("batch/sub/invoice-valid.xml", testing::readFile(kBadArithmetic));
    const std::string gone = path("gone/invoice-valid.xml");
    const std::string reports = path("out/svrl");
    CommandResult result = runCli({"validate", "--format", "svrl", "--output-dir", reports, "--schema", kRules,
                                   path("batch"), kValid, kMissingFields, gone});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(withoutTime(result.err), gone + ": cannot read " + gone + ": No such file or directory\n"
                                                "6 files: 2 valid, 3 invalid, 1 not validated (T s)\n");
    EXPECT_EQ(result.exitCode, 2);
    const auto svrlOf = [](const std::string& file) {
        return runCli({"validate", "--format", "svrl", "--schema", kRules, file}).out;
    };
    const std::map<std::string, std::string> expected{
        {"Invoice-Valid.svrl", svrlOf(path("batch/Invoice-Valid.xml"))},
        {"invoice-valid-2.svrl", svrlOf(path("batch/invoice-valid.xml"))},
        {"sub/invoice-valid.svrl", svrlOf(path("batch/sub/invoice-valid.xml"))},
        {"invoice-valid-3.svrl", svrlOf(kValid)},
        {"invoice-missing-fields.svrl", svrlOf(kMissingFields)},
        {"invoice-valid-4.svrl", svrlOf(gone)},
    };
    EXPECT_EQ(filesBelow(reports), expected);

    // JSON and text reports too, as .json and .txt files.
    CommandResult json = runCli({"validate", "--format", "json", "--output-dir", path("out/json"), "--schema", kRules,
                                 kValid, kMissingFields});
    EXPECT_EQ(json.out, "");
    EXPECT_EQ(withoutTime(json.err), "2 files: 1 valid, 1 invalid, 0 not validated (T s)\n");
    EXPECT_EQ(json.exitCode, 1);
    EXPECT_EQ(filesBelow(path("out/json")),
              (std::map<std::string, std::string>{
                  {"invoice-valid.json", runCli({"validate", "--format", "json", "--schema", kRules, kValid}).out},
                  {"invoice-missing-fields.json",
                   runCli({"validate", "--format", "json", "--schema", kRules, kMissingFields}).out}}));
    CommandResult text = runCli({"validate", "--output-dir", path("out/text"), "--schema", kRules, kValid});
    EXPECT_EQ(text.out, "");
    EXPECT_EQ(text.err, "");
    EXPECT_EQ(filesBelow(path("out/text")), (std::map<std::string, std::string>{{"invoice-valid.txt", kValid + ": valid\n"}}));
}

// A report that cannot be written is named; the other documents are still validated and
// the exit status tells of the failure.
TEST_F(BatchCliTest, UnwritableReportsAreNamed) {
    const std::string blocker = write("blocker", "a file where a directory should be");
    CommandResult result =
        runCli({"validate", "--format", "json", "--output-dir", blocker, "--schema", kRules, kValid, kMissingFields});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.exitCode, 2);
    const Lines errors = textLines(withoutTime(result.err));
    ASSERT_EQ(errors.size(), 3u) << result.err;
    EXPECT_TRUE(errors[0].starts_with(blocker + "/invoice-valid.json: cannot write the report: ")) << errors[0];
    EXPECT_TRUE(errors[1].starts_with(blocker + "/invoice-missing-fields.json: cannot write the report: ")) << errors[1];
    EXPECT_EQ(errors[2], "2 files: 1 valid, 1 invalid, 0 not validated (T s)");
}

// Several SVRL documents in one stream would not be one XML document: they need
// --output-dir. One document, even from a folder, goes to stdout.
TEST_F(BatchCliTest, SeveralSvrlDocumentsNeedAnOutputDirectory) {
    write("two/a.xml", testing::readFile(kValid));
    write("two/b.xml", testing::readFile(kValid));
    write("one/a.xml", testing::readFile(kValid));
    const std::string usage = "quillmark validate: --format svrl writes one document per file; to validate 2 files, "
                              "give --output-dir DIR\n";
    testing::expectCliRuns({
        {{"validate", "--format", "svrl", "--schema", kRules, kValid, kMissingFields}, "", usage, 2},
        {{"validate", "--format", "SVRL", "--schema", kRules, path("two")}, "", usage, 2},
    });
    CommandResult one = runCli({"validate", "--format", "svrl", "--schema", kRules, path("one")});
    EXPECT_EQ(one.out, runCli({"validate", "--format", "svrl", "--schema", kRules, path("one/a.xml")}).out);
    EXPECT_EQ(withoutTime(one.err), "1 file: 1 valid, 0 invalid, 0 not validated (T s)\n");
    EXPECT_EQ(one.exitCode, 0);
}

// While stderr is a terminal, "[done/total] path" names the file being validated; the
// line is erased before any output and at the end, so that the summary starts clean.
// (Every other test runs without a terminal and sees no progress line.)
TEST_F(BatchCliTest, ProgressLineShowsOnATerminalOnly) {
    write("batch/a.xml", testing::readFile(kValid));
    write("batch/b.xml", testing::readFile(kMissingFields));
    const std::string erase = "\r\x1b[K";
    EXPECT_EQ(withoutTime(stderrOnATerminal({"validate", "--schema", kRules, path("batch")}, path("out.txt"))),
              erase + "[0/2] " + path("batch/a.xml") + erase + erase + "[1/2] " + path("batch/b.xml") + erase +
                  "2 files: 1 valid, 1 invalid, 0 not validated (T s)\r\n");
    EXPECT_EQ(testing::readFile(path("out.txt")), runCli({"validate", "--schema", kRules, path("batch")}).out);
}

}  // namespace
}  // namespace quillmark
