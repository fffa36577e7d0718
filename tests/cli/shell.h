// Runs the command as a shell does, in a directory of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace qel::test {

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
};

class CommandTest : public testing::Test {
protected:
    CommandTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "qel-mcast-XXXXXX").string();
        directory_ = ::mkdtemp(name.data());
    }
    ~CommandTest() override { std::filesystem::remove_all(directory_); }

    std::string path(const std::string &name) const { return (directory_ / name).string(); }

    std::string write(const std::string &name, const std::string &text) const
    {
        std::ofstream(path(name), std::ios::binary) << text;
        return "'" + path(name) + "'";
    }

    std::string read(const std::string &name) const
    {
        std::ifstream stream(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    // Runs `prefix qel-mcast arguments` in a shell; `arguments` may redirect as well.
    Outcome run(const std::string &arguments, const std::string &prefix = {}) const
    {
        const std::string line = "{ " + prefix + " '" QEL_MCAST_COMMAND "' " + arguments + "; } >'" + path("out") +
                                 "' 2>'" + path("err") + "'";
        const int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("out"), read("err")};
    }

private:
    std::filesystem::path directory_;
};

} // namespace qel::test
