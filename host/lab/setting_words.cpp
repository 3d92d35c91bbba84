#include "host/lab/setting_words.h"

#include <optional>

#include "host/exit_codes.h"

namespace eislab {

using eishost::ControlSettings;
using eishost::HostError;
using eishost::TableKind;

TableKind kindOfWords(const std::vector<std::string>& words) {
    std::optional<TableKind> kind;
    for (const std::string& word : words) {
        TableKind found{};
        std::size_t index = 0;
        if (!eishost::findControlKey(word.substr(0, word.find('=')), found, index)) continue;
        if (kind.has_value() && *kind != found) {
            throw HostError(eishost::kExitUsage, "'" + word + "' and a key before it belong to different tables");
        }
        kind = found;
    }
    return kind.value_or(TableKind::kFast);
}

NamedSettings settingsFromWords(TableKind kind, const std::vector<std::string>& words) {
    NamedSettings named{ControlSettings(kind), ""};
    for (const std::string& word : words) assignSetting(named.settings, word);
    return named;
}

}  // namespace eislab
