// Writing the model to a file, and writing it back where it came from.
#include <string>
#include <vector>

#include "services/services_fixture.hpp"

namespace dpl::test {
namespace {

// Not in the columns of the model: rewriting it would show.
const std::string kFile = "a 1/tcp\n#c\n";

class ServicesWrite : public ServicesTest {
protected:
    void SetUp() override {
        ServicesTest::SetUp();
        ASSERT_EQ(0, load(kFile));
        forget_messages();
    }
};

TEST_F(ServicesWrite, DeployRightAfterLoadingWritesNothing) {
    EXPECT_EQ(0, dplServicesDeploy(block));
    EXPECT_EQ(
        (std::vector<std::string>{
            "Warning: dplServicesDeploy refusing to rewrite services file as it has not been changed."}),
        messages());
    EXPECT_EQ(kFile, read_file(services_path));
    EXPECT_EQ(1, dplServicesStatus(block));
}

TEST_F(ServicesWrite, DeployRewritesAChangedFileWhereItCameFrom) {
    ASSERT_EQ(0, dplServicesAddComment(block, "added"));
    forget_messages();
    EXPECT_EQ(0, dplServicesDeploy(block));
    EXPECT_EQ((std::vector<std::string>{"Wrote services to " + services_path}), messages());
    EXPECT_EQ("a\t    1/tcp\t\n#c\n#added\n", read_text(services_path));
    EXPECT_EQ(1, dplServicesStatus(block));
    // Still loaded: it can be changed and written again.
    ASSERT_EQ(0, dplServicesAddComment(block, "again"));
    EXPECT_EQ(0, dplServicesDeploy(block));
    EXPECT_EQ("a\t    1/tcp\t\n#c\n#added\n#again\n", read_text(services_path));
}

TEST_F(ServicesWrite, APrivateInstallationNeverRewritesTheFile) {
    ASSERT_EQ(0, dplSetInstallModePrivate(block));
    ASSERT_EQ(0, dplServicesAddComment(block, "added"));
    forget_messages();
    EXPECT_EQ(0, dplServicesDeploy(block));
    EXPECT_TRUE(messages().empty());
    EXPECT_EQ(kFile, read_file(services_path));
    EXPECT_EQ(2, dplServicesStatus(block));
    // Writing to a file of one's own is still possible.
    EXPECT_EQ("a\t    1/tcp\t\n#c\n#added\n", written());
}

TEST_F(ServicesWrite, DeployFileReplacesTheTarget) {
    const std::string target = dir.file("target");
    write_file(target, std::string(1000, 'x'));
    ASSERT_EQ(0, dplServicesDeployFile(block, target.c_str()));
    EXPECT_EQ("a\t    1/tcp\t\n#c\n", read_text(target));
}

TEST_F(ServicesWrite, AFailedWriteKeepsTheChangeForALaterAttempt) {
    ASSERT_EQ(0, dplServicesAddComment(block, "added"));
    const std::string nowhere = dir.file("no-such-directory/services");
    forget_messages();
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesDeployFile(block, nowhere.c_str()));
    EXPECT_EQ((std::vector<std::string>{"Error: The file " + nowhere +
                                        " could not be opened for writing in dplServicesDeployFile"}),
              messages());
    EXPECT_EQ(2, dplServicesStatus(block));
    EXPECT_EQ(0, dplServicesDeploy(block));
    EXPECT_EQ(1, dplServicesStatus(block));
}

TEST_F(ServicesWrite, ArgumentErrors) {
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesDeployFile(nullptr, "x"));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesDeployFile(block, nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesDeployFile(block, ""));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesDeploy(nullptr));
    EXPECT_EQ((std::vector<std::string>{
                  "Error: The install structure is null in dplServicesDeployFile.",
                  "Error: The file parameter is null or blank in dplServicesDeployFile.",
                  "Error: The file parameter is null or blank in dplServicesDeployFile.",
                  "Error: The install structure is null in dplServicesDeploy.",
              }),
              messages());
    dplServicesFree(block);
    const std::string target = dir.file("target");
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesDeployFile(block, target.c_str()));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesDeploy(block));
}

}  // namespace
}  // namespace dpl::test
