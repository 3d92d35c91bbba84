#include "host/lab/log_lines.h"

#include <regex>

#include "host/program/input_file.h"

namespace eislab {

namespace {

// A head is sought in the first characters of a line alone.
constexpr std::size_t kLongestHead = 160;

struct Form {
    std::regex head;
    // Groups of the head, 0 for what it does not have.
    int priority, tag, process, thread, time;
};

const std::vector<Form>& forms() {
    static const std::string stamp = "\\d\\d-\\d\\d ";
    static const std::string clock = "(\\d\\d:\\d\\d:\\d\\d\\.\\d{3})\\d*";
    static const std::vector<Form> all = {
        {std::regex(stamp + clock + " +(\\d+) +(\\d+) ([VDIWEF]) (\\S+) *: ?"), 4, 5, 2, 3, 1},  // threadtime
        {std::regex(stamp + clock + " ([VDIWEF])/(\\S+) *\\( *(\\d+)\\): ?"), 2, 3, 4, 0, 1},    // time
        {std::regex("([VDIWEF])/(\\S+) *\\( *(\\d+)\\): ?"), 1, 2, 3, 0, 0},                     // brief
        {std::regex("(\\S+) ([VDIWEF]) \\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d +(\\d+) +(\\d+) "), 2, 1, 3, 4, 0},  // stderr
        {std::regex("([IE]) (\\S+): "), 1, 2, 0, 0, 0},  // eis-host --log
    };
    return all;
}

double clockMilliseconds(const std::string& clock) {  // "HH:MM:SS.mmm"
    const double minutes = 60 * std::stod(clock.substr(0, 2)) + std::stod(clock.substr(3, 2));
    return 60000 * minutes + 1000 * std::stod(clock.substr(6));
}

// Nothing for a line of no known form; a line of another tag has no text.
std::optional<LogLine> parsed(const std::string& line) {
    const auto headEnd = line.cbegin() + static_cast<std::ptrdiff_t>(std::min(line.size(), kLongestHead));
    for (const Form& form : forms()) {
        std::smatch head;
        if (!std::regex_search(line.cbegin(), headEnd, head, form.head, std::regex_constants::match_continuous))
            continue;
        LogLine result;
        const std::string tag = head[form.tag];
        if (tag != "EIS_AP" && tag != "MFNR_AP") return result;
        result.priority = *head[form.priority].first;
        if (form.process != 0) result.process = std::atoi(head[form.process].str().c_str());
        if (form.thread != 0) result.thread = std::atoi(head[form.thread].str().c_str());
        if (form.time != 0) result.milliseconds = clockMilliseconds(head[form.time]);
        result.text = line.substr(static_cast<std::size_t>(head.length()));
        return result;
    }
    return std::nullopt;
}

}  // namespace

std::vector<LogLine> readLog(const std::string& path) {
    eishost::InputFile file(path);
    const std::string all = file.readAll();
    std::vector<LogLine> lines;
    std::size_t number = 0;
    for (std::size_t at = 0; at < all.size();) {
        const std::size_t end = std::min(all.find('\n', at), all.size());
        std::string text = all.substr(at, end - at);
        while (!text.empty() && (text.back() == '\r' || text.back() == ' ')) text.pop_back();
        ++number;
        const bool aside = text.empty() || text.starts_with("--------- ");  // "--------- beginning of main"
        const std::optional<LogLine> line = aside ? LogLine() : parsed(text);
        if (!line) {
            file.fail("line " + std::to_string(number) + ", at byte " + std::to_string(at) +
                      ", is no line of a platform log: " + text.substr(0, 60));
        }
        if (!line->text.empty()) {
            lines.push_back(*line);
            lines.back().number = number;
        }
        at = end + 1;
    }
    return lines;
}

}  // namespace eislab
