// Reading a services file into the model.
#include <string>
#include <vector>

#include "services/services_fixture.hpp"

namespace dpl::test {
namespace {

using services::ServicesLine;

std::vector<const ServicesLine *> lines_of_model(const services::ServicesFile &file) {
    std::vector<const ServicesLine *> lines;
    for (const ServicesLine &line : file.lines()) lines.push_back(&line);
    return lines;
}

using ServicesLoad = ServicesTest;

TEST_F(ServicesLoad, AServiceLineGivesNamePortProtocolAliasesAndComment) {
    ASSERT_EQ(0, load("svc 1234/tcp one two # the text\r\n"));
    EXPECT_EQ(1, dplServicesStatus(block));
    const auto lines = lines_of_model(model());
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(3u, lines[0]->kind);
    EXPECT_EQ("svc", lines[0]->text_or_name);
    EXPECT_EQ(1234, lines[0]->port);
    EXPECT_EQ("tcp", lines[0]->protocol);
    EXPECT_EQ((std::vector<std::string>{"one", "two"}), lines[0]->aliases);
    ASSERT_TRUE(lines[0]->comment.has_value());
    EXPECT_EQ(" the text", *lines[0]->comment);
    EXPECT_EQ(3u, model().name_width);
    EXPECT_EQ(3u, model().protocol_width);
    EXPECT_EQ(8u, model().alias_width);
    EXPECT_EQ(services_path, model().path.value());
    EXPECT_EQ((std::vector<std::string>{"Loaded services file " + services_path}), messages());
}

TEST_F(ServicesLoad, LeadingZerosEmptyCommentsAndAHashInTheProtocol) {
    ASSERT_EQ(0, load("\t zero   007/udp #\nhash 9/x#y\n"));
    const auto lines = lines_of_model(model());
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("zero", lines[0]->text_or_name);
    EXPECT_EQ(7, lines[0]->port);
    EXPECT_EQ("udp", lines[0]->protocol);
    EXPECT_TRUE(lines[0]->aliases.empty());
    EXPECT_EQ("", lines[0]->comment.value());
    // A '#' inside the protocol is part of it.
    EXPECT_EQ("x#y", lines[1]->protocol);
    EXPECT_FALSE(lines[1]->comment.has_value());
}

TEST_F(ServicesLoad, CommentAndBlankLinesKeepTheirText) {
    ASSERT_EQ(0, load("# first\n\n#\n\rjunk\n"));
    const auto lines = lines_of_model(model());
    ASSERT_EQ(4u, lines.size());
    EXPECT_EQ(2u, lines[0]->kind);
    EXPECT_EQ(" first\n", lines[0]->text_or_name);
    EXPECT_EQ(1u, lines[1]->kind);
    EXPECT_EQ(2u, lines[2]->kind);
    EXPECT_EQ("\n", lines[2]->text_or_name);
    EXPECT_EQ(1u, lines[3]->kind);  // a line that starts with '\r' counts as blank
    EXPECT_EQ("# first\n\n#\n\n", written());
}

TEST_F(ServicesLoad, UnparsableLinesAreKeptVerbatimWithTheirWarnings) {
    const std::string text =
        "big 70000/tcp\n"
        "noslash 1234 tcp\n"
        "noproto 1234/ x\n"
        "  # x\n"
        "justname\n";
    ASSERT_EQ(0, load(text));
    for (const ServicesLine *line : lines_of_model(model())) EXPECT_EQ(4u, line->kind) << line->text_or_name;
    EXPECT_EQ((std::vector<std::string>{
                  "Warning: Read a port that won't fit in a uint16: 70000",
                  "Warning: Parsing error on line: big 70000/tcp",
                  "Warning The slash appears to be missing.",
                  "Warning: Parsing error on line: noslash 1234 tcp",
                  "Warning: The protocol appears to be missing.",
                  "Warning: Parsing error on line: noproto 1234/ x",
                  "Warning: Port appears to be missing.",
                  "Warning: Parsing error on line:   # x",
                  "Warning: Port appears to be missing.",
                  "Warning: Parsing error on line: justname",
                  "Loaded services file " + services_path,
              }),
              messages());
    EXPECT_EQ(text, written());
    // Verbatim lines do not count for the columns.
    EXPECT_EQ(0u, model().name_width);
}

TEST_F(ServicesLoad, TheParsingErrorIsTracedAtLevelNineOnly) {
    uint32_t old = 0;
    ASSERT_EQ(HT_OK, ht_set_severity(5, &old));
    ASSERT_EQ(0, load("big 70000/tcp\n"));
    EXPECT_EQ((std::vector<std::string>{"Warning: Read a port that won't fit in a uint16: 70000",
                                        "Loaded services file " + services_path}),
              messages());
}

TEST_F(ServicesLoad, AnEnormousPortIsReportedWithoutOverflow) {
    ASSERT_EQ(0, load("huge 99999999999999999999/tcp\n"));
    EXPECT_TRUE(has_message("Warning: Read a port that won't fit in a uint16: 2147483647"));
    EXPECT_EQ(4u, model().lines().front().kind);
}

TEST_F(ServicesLoad, ALastLineWithoutLineEndGetsOne) {
    ASSERT_EQ(0, load("#c\nx 1/tcp"));
    EXPECT_EQ("#c\nx\t    1/tcp\t\n", written());
    dplServicesFree(block);
    ASSERT_EQ(0, load("#c\ngarbage"));
    EXPECT_EQ("#c\ngarbage\n", written());
    dplServicesFree(block);
    ASSERT_EQ(0, load("#last"));
    EXPECT_EQ("last\n", model().lines().front().text_or_name);
}

TEST_F(ServicesLoad, LongLinesAreReadInPiecesOf255Characters) {
    const std::string comment = "#" + std::string(299, 'a') + "\n";
    ASSERT_EQ(0, load(comment));
    const auto lines = lines_of_model(model());
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(2u, lines[0]->kind);
    EXPECT_EQ(std::string(254, 'a'), lines[0]->text_or_name);
    EXPECT_EQ(4u, lines[1]->kind);
    EXPECT_EQ(std::string(45, 'a') + "\n", lines[1]->text_or_name);
    EXPECT_EQ(comment, written());
}

TEST_F(ServicesLoad, AFullPieceAtTheEndOfTheFileGetsNoLineEnd) {
    const std::string text = "#" + std::string(254, 'b');
    ASSERT_EQ(0, load(text));
    ASSERT_EQ(1u, model().lines().size());
    EXPECT_EQ(text, written());
}

TEST_F(ServicesLoad, ANulEndsTheTextOfItsLine) {
    const char text[] = "\0skipped\n#kept\0lost\n";
    ASSERT_EQ(0, load(std::string(text, sizeof text - 1)));
    const auto lines = lines_of_model(model());
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(1u, lines[0]->kind);
    EXPECT_EQ("kept", lines[1]->text_or_name);
}

TEST_F(ServicesLoad, AnEmptyFileLoadsWithNoLines) {
    ASSERT_EQ(0, load(""));
    EXPECT_EQ(1, dplServicesStatus(block));
    EXPECT_TRUE(model().lines().empty());
    EXPECT_EQ("", written());
}

TEST_F(ServicesLoad, LoadingTwiceIsRefusedAndChangesNothing) {
    ASSERT_EQ(0, load("a 1/tcp\n"));
    const std::string other = dir.file("other");
    write_file(other, "b 2/tcp\n");
    forget_messages();
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesLoad(block, other.c_str()));
    EXPECT_TRUE(messages().empty());
    EXPECT_EQ(services_path, model().path.value());
    EXPECT_EQ(1, dplServicesGetPortFromName(block, "a", nullptr));
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "b", nullptr));
}

TEST_F(ServicesLoad, BadArgumentsGiveTheirCodesAndMessages) {
    uint32_t foreign[64] = {0x12345678u};
    auto *fake = reinterpret_cast<InstallControlBlock *>(foreign);
    forget_messages();
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesLoad(nullptr, services_path.c_str()));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesLoad(fake, services_path.c_str()));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesLoad(block, nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesLoad(block, ""));
    const std::string missing = dir.file("missing");
    EXPECT_EQ(DPL_E_OPEN_READ, dplServicesLoad(block, missing.c_str()));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesStatus(nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesStatus(fake));
    dplServicesFree(nullptr);
    dplServicesFree(fake);
    EXPECT_EQ((std::vector<std::string>{
                  "Error: The install structure is null in dplServicesLoad.",
                  "Error: The install structure is null in dplServicesLoad.",
                  "Error: The file parameter is null or blank in dplServicesLoad.",
                  "Error: The file parameter is null or blank in dplServicesLoad.",
                  "Error: The file " + missing + " can't be opened for reading in dplServicesLoad",
                  "Error: The install structure is null in dplServicesStatus.",
                  "Error: The install structure is null in dplServicesStatus.",
                  "Warning: The install structure is null in dplServicesFree; nothing is being freed.",
                  "Warning: The install structure is null in dplServicesFree; nothing is being freed.",
              }),
              messages());
    EXPECT_EQ(0x12345678u, foreign[0]);
    EXPECT_EQ(0, dplServicesStatus(block));
}

TEST_F(ServicesLoad, FreeReleasesEverythingButTheSocketSwitch) {
    ASSERT_EQ(0, load("longer-name 1/tcp alias\n"));
    ASSERT_EQ(0, dplServicesCheatSockets(block));
    forget_messages();
    dplServicesFree(block);
    EXPECT_EQ((std::vector<std::string>{"All resources released."}), messages());
    EXPECT_EQ(0, dplServicesStatus(block));
    EXPECT_TRUE(model().lines().empty());
    EXPECT_FALSE(model().path.has_value());
    EXPECT_EQ(0u, model().name_width);
    EXPECT_EQ(0u, model().protocol_width);
    EXPECT_EQ(0u, model().alias_width);
    EXPECT_EQ(1u, model().sockets_off);
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesGetPortFromName(block, "alias", nullptr));
    // A new load is possible and switches socket probing back on.
    ASSERT_EQ(0, load("b 2/tcp\n"));
    EXPECT_EQ(0u, model().sockets_off);
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "alias", nullptr));
    EXPECT_EQ(2, dplServicesGetPortFromName(block, "b", nullptr));
}

}  // namespace
}  // namespace dpl::test
