#ifndef KO_TEST_TESTFILES_H
#define KO_TEST_TESTFILES_H

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include <stdlib.h>
#include <sys/wait.h>

/// A folder that goes with the test.
class TestFolder
{
public:
    TestFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "kotm-XXXXXX").string();
        m_path = mkdtemp(name.data());
    }
    ~TestFolder() { std::filesystem::remove_all(m_path); }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string Path(const std::string& name) const { return m_path + "/" + name; }
    std::string Write(const std::string& name, std::string_view text) const
    {
        std::ofstream(Path(name), std::ios::binary) << text;
        return Path(name);
    }

private:
    std::string m_path;
};

inline std::string ReadAll(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

struct Outcome {
    int status;
    std::string out; ///< standard output, then standard error
};

/// Runs the program with shell-quoted arguments.
inline Outcome RunKotm(const std::string& arguments)
{
    const TestFolder folder;
    const std::string out = folder.Path("out");
    const std::string err = folder.Path("err");
    const std::string command =
        std::string(KOTM_PROGRAM) + " " + arguments + " >" + out + " 2>" + err;
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadAll(out) + ReadAll(err)};
}

#endif
