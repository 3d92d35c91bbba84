#include "host/program/output_folder.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>

#include "host/program/exit_codes.h"

namespace eishost {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuseFolder(const std::string& path, const std::string& why) {
    throw HostError(kExitUnwritable, path + ": " + why);
}

// The file names in a list, wherever they stand in it.
std::set<std::string> namesIn(const fs::path& list) {
    std::ifstream file(list);
    const nlohmann::json json = nlohmann::json::parse(file, nullptr, false);
    std::set<std::string> names;
    if (json.is_discarded()) return names;
    const nlohmann::json flat = json.flatten();
    for (const nlohmann::json& value : flat) {
        if (value.is_string()) names.insert(fs::path(value.get<std::string>()).filename().string());
    }
    return names;
}

// The folder itself, or the nearest one above it that is there.
fs::path existingPart(const fs::path& folder) {
    fs::path part = fs::absolute(folder);
    std::error_code ignored;
    while (!fs::exists(part, ignored) && part.has_relative_path()) part = part.parent_path();
    return part;
}

}  // namespace

std::string numberedName(const char* kind, std::size_t number) {
    char name[48];
    std::snprintf(name, sizeof name, "%s_%02zu.png", kind, number);
    return name;
}

OutputFolder::OutputFolder(const std::string& path, std::string list, std::vector<std::string> kinds, bool replacing,
                           const std::vector<std::string>& inputs)
    : path_(path), list_(std::move(list)), kinds_(std::move(kinds)) {
    const fs::path present = existingPart(path_);
    std::error_code ignored;
    if (!fs::is_directory(present, ignored))
        refuseFolder(path, "cannot be a folder: " + present.string() + " is a file");
    if (access(present.c_str(), W_OK | X_OK) != 0) refuseFolder(path, "the folder cannot be written to");
    if (!fs::is_directory(path_, ignored)) return;

    for (const fs::directory_entry& entry : fs::directory_iterator(path_)) {
        if (isOurs(entry.path().filename().string())) older_.push_back(entry.path());
    }
    std::sort(older_.begin(), older_.end());
    if (older_.empty()) return;
    if (!replacing) {
        refuseFolder(path, "holds " + older_.front().filename().string() +
                               (older_.size() > 1 ? " and " + std::to_string(older_.size() - 1) + " more" : "") +
                               " of an earlier run; take another folder, or --force to remove what that run wrote");
    }
    const std::set<std::string> known = namesIn(path_ / list_);
    for (const fs::path& file : older_) {
        const std::string name = file.filename().string();
        if (name != list_ && known.count(name) == 0) {
            refuseFolder(file.string(), list_ + " does not name it, so --force does not remove it; move it away");
        }
        for (const std::string& input : inputs) {
            if (fs::equivalent(file, input, ignored)) refuseFolder(input, "is an input, so --force does not remove it");
        }
    }
}

bool OutputFolder::isOurs(const std::string& name) const {
    if (name == list_) return true;
    return std::any_of(kinds_.begin(), kinds_.end(), [&name](const std::string& kind) {
        if (kind.find('.') != std::string::npos) return name == kind;
        std::string_view rest = name;
        if (!rest.starts_with(kind + "_") || !rest.ends_with(".png")) return false;
        rest = rest.substr(kind.size() + 1, rest.size() - kind.size() - 5);
        return rest.size() >= 2 && rest.find_first_not_of("0123456789") == std::string_view::npos;
    });
}

void OutputFolder::open() const {
    std::error_code error;
    fs::create_directories(path_, error);
    if (error) refuseFolder(path_.string(), "cannot be made: " + error.message());
    for (const fs::path& file : older_) {
        if (!fs::remove(file, error) && error) refuseFolder(file.string(), "cannot be removed: " + error.message());
    }
}

std::string OutputFolder::picture(const char* kind, std::size_t number) const {
    return file(numberedName(kind, number));
}

}  // namespace eishost
