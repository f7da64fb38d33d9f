// Gives a test program a data folder of its own, so that it leaves the keys of the user who runs it alone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

class PrivateHome : public testing::Environment {
public:
    void SetUp() override {
        m_folder = (std::filesystem::temp_directory_path() / "nvutil_test_home_XXXXXX").string();
        ASSERT_NE(mkdtemp(m_folder.data()), nullptr);
        ASSERT_EQ(setenv("XDG_DATA_HOME", m_folder.c_str(), 1), 0);
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

private:
    std::string m_folder;
};

[[maybe_unused]] const auto* const privateHome = testing::AddGlobalTestEnvironment(new PrivateHome);

}  // namespace
