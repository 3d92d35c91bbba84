#include "tests/harness/files.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace eis::test {

namespace {

std::map<std::string, std::string>& redirects() {
    static std::map<std::string, std::string> instance;
    return instance;
}

}  // namespace

FileRedirect::FileRedirect(const std::string& path, const std::string& target) : path_(path) {
    redirects()[path] = target;
}

FileRedirect::~FileRedirect() {
    redirects().erase(path_);
}

std::string redirectedPath(const char* path) {
    const auto found = redirects().find(path);
    return found != redirects().end() ? found->second : path;
}

TempFolder::TempFolder() : folder_(testing::TempDir() + "eis-XXXXXX") {
    EXPECT_NE(mkdtemp(folder_.data()), nullptr) << folder_;
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string TempFolder::write(const std::string& name, std::string_view content) const {
    writeFile(path(name), content);
    return path(name);
}

std::string TempFolder::read(const std::string& name) const {
    return std::filesystem::exists(path(name)) ? readFile(path(name)) : "";
}

void writeFile(const std::string& path, std::string_view content) {
    std::ofstream file(path, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    EXPECT_TRUE(file.good()) << path;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.good()) << path;
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

}  // namespace eis::test
