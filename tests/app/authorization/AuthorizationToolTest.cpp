#include "app/AuthorizationTool.h"

#include "rehearsal/RecordedSystemLog.h"
#include "support/TemporaryFolder.h"

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/stat.h>

namespace {
using Bytes = std::vector<std::uint8_t>;

AdministratorRight::ExternalForm someRight() {
    AdministratorRight::ExternalForm right{};
    for (std::size_t i = 0; i < right.size(); ++i)
        right[i] = static_cast<std::uint8_t>(200 - i);
    return right;
}

class AuthorizationToolTest : public testing::Test {
protected:
    /// A helper of the test's own.
    std::string script(const std::string& text) {
        const std::string path = m_folder.path() + "/helper";
        std::ofstream(path) << "#!/bin/sh\n" << text << "\n";
        chmod(path.c_str(), 0755);
        return path;
    }
    Bytes contents(const std::string& name) const {
        std::ifstream file(m_folder.path() + "/" + name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    bool pass(const std::string& path) { return AuthorizationTool(path, m_log).pass(someRight()); }

    TemporaryFolder m_folder;
    RecordedSystemLog m_log;
};
} // namespace

TEST(AuthorizationTool, hasARecordOf1028Bytes_withTheCommandAndAPathThatEnds) {
    const AuthorizationTool::CommandRecord record = AuthorizationTool::commandRecord();
    EXPECT_EQ(record.size(), 1028U);
    std::int32_t command = 0;
    std::memcpy(&command, record.data(), sizeof command);
    EXPECT_EQ(command, 1);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(record.data() + 4)), "/tmp");
}

TEST_F(AuthorizationToolTest, isHandedTheRightAndThenTheRecord) {
    const std::string out = m_folder.path() + "/input";
    EXPECT_TRUE(pass(script("/bin/cat > " + out)));
    const AdministratorRight::ExternalForm right = someRight();
    const AuthorizationTool::CommandRecord record = AuthorizationTool::commandRecord();
    Bytes expected(right.begin(), right.end());
    expected.insert(expected.end(), record.begin(), record.end());
    EXPECT_EQ(contents("input"), expected);
    EXPECT_TRUE(m_log.lines().empty());
}

TEST_F(AuthorizationToolTest, getsOnlyItsPathAndNoEnvironment) {
    const std::string out = m_folder.path() + "/seen";
    const std::string path = script("/bin/cat > /dev/null; echo \"$0 $#\" > " + out +
                                    "; /usr/bin/tr '\\0' '\\n' < /proc/$$/environ >> " + out);
    EXPECT_TRUE(pass(path));
    const Bytes seen = contents("seen");
    EXPECT_EQ(std::string(seen.begin(), seen.end()), path + " 0\n");
}

TEST_F(AuthorizationToolTest, saysThatAHelperIsMissing) {
    EXPECT_FALSE(pass(m_folder.path() + "/none"));
    ASSERT_EQ(m_log.lines().size(), 1U);
    EXPECT_NE(m_log.lines()[0].find("cannot be run"), std::string::npos);
}

TEST_F(AuthorizationToolTest, saysThatAHelperFailed) {
    EXPECT_FALSE(pass(script("/bin/cat > /dev/null; exit 3")));
    ASSERT_EQ(m_log.lines().size(), 1U);
    EXPECT_NE(m_log.lines()[0].find("failed"), std::string::npos);
}

TEST_F(AuthorizationToolTest, survivesAHelperThatReadsNothing) {
    pass(script("exit 0")); // whether it ended before or after the writing is chance
    EXPECT_TRUE(pass(script("/bin/cat > /dev/null")));
}

TEST_F(AuthorizationToolTest, handsNothingOver_withoutAPathOrWithOneThatIsTooLong) {
    EXPECT_FALSE(pass(""));
    EXPECT_FALSE(pass("/" + std::string(1024, 'x')));
    EXPECT_TRUE(m_log.lines().empty());
}

TEST_F(AuthorizationToolTest, isSatisfiedByTheRealHelper) {
    EXPECT_TRUE(pass(VELMORATIDE_AUTHTOOL));
    EXPECT_TRUE(m_log.lines().empty());
}

TEST_F(AuthorizationToolTest, realHelperRefusesWhatIsNotWhole) {
    const std::string tool = VELMORATIDE_AUTHTOOL;
    const auto exitStatus = [&](const std::string& input) {
        const int status = std::system((input + " | " + tool + " 2>" + m_folder.path() + "/why").c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    const auto why = [&] {
        const Bytes text = contents("why");
        return std::string(text.begin(), text.end());
    };
    EXPECT_EQ(exitStatus("head -c 31 /dev/zero"), 1);
    EXPECT_EQ(why(), "authtool: no administrator right was handed over\n");
    EXPECT_EQ(exitStatus("head -c 1059 /dev/zero"), 1);
    EXPECT_EQ(why(), "authtool: no whole command was handed over\n");
    EXPECT_EQ(exitStatus("head -c 1061 /dev/zero"), 1);
    EXPECT_EQ(why(), "authtool: more than one command was handed over\n");
    EXPECT_EQ(exitStatus("head -c 1060 /dev/zero"), 1);
    EXPECT_EQ(why(), "authtool: the command is unknown\n");
    // 32 bytes of a right, the command 1, and 1024 bytes of which none ends the path.
    EXPECT_EQ(exitStatus(
                  "(head -c 32 /dev/zero; printf '\\001\\000\\000\\000'; head -c 1024 /dev/zero | tr '\\0' x)"),
              1);
    EXPECT_EQ(why(), "authtool: the command's path has no end\n");
    EXPECT_EQ(exitStatus("true"), 1);
    EXPECT_EQ(why(), "authtool: no administrator right was handed over\n");
    // The rest of the field is not cleared, and means nothing.
    EXPECT_EQ(
        exitStatus("(head -c 32 /dev/zero; printf '\\001\\000\\000\\000/tmp\\000'; head -c 1019 /dev/urandom)"),
        0);
}
