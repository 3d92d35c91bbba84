#include "host/report/page_view.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

#include "host/report/frame_report.h"
#include "host/report/page_plot.h"

namespace eishost {

namespace {

using nlohmann::json;

std::string fileName(const json& path) {
    return std::filesystem::path(path.get<std::string>()).filename().string();
}

// The value at a path of members, null where there is none.
json at(const json& value, const std::string& path) {
    const json::json_pointer pointer(path);
    return value.contains(pointer) ? value.at(pointer) : json();
}

std::string percent(double share) {
    return fixedText(100 * share, 0) + " %";
}

json fact(const std::string& label, const std::string& value) {
    return {{"label", label}, {"value", value}};
}

// A figure, and how much more or less it is than that of the reference.
json cell(const json& value, const json& before, int digits) {
    json shown{{"text", value.is_null() ? "" : fixedText(value, digits)}};
    if (value.is_null() || before.is_null() || value == before) return shown;
    const double gain = value.get<double>() - before.get<double>();
    char text[32];
    std::snprintf(text, sizeof text, "%+.*f", digits, gain);
    shown["gain"] = text;
    shown["better"] = gain > 0;
    return shown;
}

double meanNoise(const json& version) {
    double sum = 0;
    for (const json& point : version.at("noise")) sum += point.at("sigma").get<double>();
    return version.at("noise").empty() ? std::nan("") : sum / static_cast<double>(version.at("noise").size());
}

// Rows of figures; the truth has none but its sharpness, which is the measure.
json figures(const json& versions) {
    struct Column {
        const char* path;
        int digits;
    };
    constexpr Column kColumns[] = {{"/truth/psnr/y", 2}, {"/truth/psnr/u", 2}, {"/truth/psnr/v", 2},
                                   {"/truth/ssim/y", 4}, {"/truth/ssim/u", 4}, {"/truth/ssim/v", 4},
                                   {"/moverPsnrY", 2}};
    json rows = json::array();
    for (const json& version : versions) {
        if (version.at("key") == "truth") continue;
        json row{{"title", version.at("title")}, {"key", version.at("key")}, {"cells", json::array()}};
        for (const Column& column : kColumns) {
            const json value = at(version, column.path);
            if (value.is_null() && at(versions.front(), column.path).is_null()) continue;
            row["cells"].push_back(cell(value, at(versions.front(), column.path), column.digits));
        }
        const json sharpness = at(version, "/sharpness");
        row["sharpness"] = sharpness.is_null() ? "" : percent(sharpness.get<double>());
        row["noise"] = std::isnan(meanNoise(version)) ? "" : fixedText(meanNoise(version), 2);
        rows.push_back(row);
    }
    return rows;
}

// The last version but the truth: what the work came to.
std::size_t resultOf(const json& versions) {
    const std::size_t last = versions.size() - 1;
    return last > 0 && versions[last].at("key") == "truth" ? last - 1 : last;
}

json facts(const json& document) {
    json list = json::array();
    const json& versions = document.at("versions");
    list.push_back(fact("size", document.at("width").dump() + " × " + document.at("height").dump()));
    if (const std::size_t frames = document.at("frames").size(); frames > 0) {
        std::size_t aligned = 0;
        for (const json& frame : document.at("frames")) aligned += frame.value("aligned", false) ? 1 : 0;
        list.push_back(
            fact("frames", "reference + " + std::to_string(aligned) + " of " + std::to_string(frames) + " aligned"));
    }
    const json& first = versions.front();
    const json& last = versions.at(resultOf(versions));
    const auto gained = [&](const std::string& label, const std::string& path, const char* unit, int digits) {
        const json before = at(first, path);
        const json after = at(last, path);
        if (before.is_null() || after.is_null() || before == after) return;
        list.push_back(fact(label, fixedText(before, digits) + " → " + fixedText(after, digits) + unit));
    };
    gained("PSNR of Y", "/truth/psnr/y", " dB", 2);
    gained("SSIM of Y", "/truth/ssim/y", "", 3);
    if (&last != &first && at(first, "/truth").is_null() && !std::isnan(meanNoise(first))) {
        list.push_back(fact("noise of Y", fixedText(meanNoise(first), 2) + " → " + fixedText(meanNoise(last), 2)));
    }
    for (const char* const path : {"/result/milliseconds", "/result/denoise/milliseconds"}) {
        const std::string time = fixedText(at(document, path), 0);
        if (!time.empty()) list.push_back(fact("denoising, in the library", time + " ms"));
    }
    return list;
}

std::string areaText(const json& rectangle, const json& document) {
    if (rectangle.is_null()) return {};
    const double share = rectangle.at("width").get<double>() * rectangle.at("height").get<double>() /
                         (document.at("width").get<double>() * document.at("height").get<double>());
    return rectangle.at("width").dump() + " × " + rectangle.at("height").dump() + " at " + rectangle.at("x").dump() +
           ", " + rectangle.at("y").dump() + " (" + percent(share) + ")";
}

json frameRow(const json& frame, const json& document) {
    const bool aligned = frame.value("aligned", false);
    json row{{"name", fileName(frame.at("frame"))},
             {"aligned", aligned},
             {"state", aligned ? "aligned" : "left out"},
             {"pictures", frame.at("pictures")},
             {"reason", at(frame, "/refusal/reason")},
             {"logLine", at(frame, "/refusal/logLine")},
             {"facts", json::array()}};
    const auto add = [&](const std::string& label, const std::string& value) {
        if (!value.empty()) row["facts"].push_back(fact(label, value));
    };
    const auto number = [&](const std::string& path, int digits, const char* unit) {
        const json value = at(frame, path);
        return value.is_number() ? fixedText(value, digits) + unit : std::string();
    };
    if (frame.contains("pairsIn")) {
        add("pairs", frame["pairsKept"].dump() + " kept of " + frame["pairsIn"].dump() + ", over " +
                         percent(frame.at("coverage")) + " of the frame");
    }
    add("filled", areaText(at(frame, "/rectangle"), document));
    add("residual", number("/residualPixels", 2, " px"));
    add("corner error", number("/truth/cornerError/largest", 2, " px"));
    if (const std::string before = number("/truth/psnrY/unaligned", 2, ""); !before.empty()) {
        add("PSNR of Y", before + " → " + number("/truth/psnrY/aligned", 2, "") + " dB (true alignment " +
                             number("/truth/psnrY/trueHomography", 2, ")"));
    }
    if (const json matching = at(frame, "/milliseconds/matching"); matching.is_number()) {
        double library = 0;
        for (const char* const stage : {"ransac", "registration", "flush"}) {
            const json time = at(frame, std::string("/milliseconds/") + stage);
            if (time.is_number()) library += time.get<double>();
        }
        add("time", "tool " + fixedText(matching, 0) + " ms, library " + fixedText(library, 0) + " ms");
    }
    return row;
}

// What the script needs: pictures, their size and the places; and what a page over several shows of this one.
json viewerData(const json& document) {
    json versions = json::array();
    for (const json& version : document.at("versions")) {
        versions.push_back(
            {{"title", version.at("title")}, {"whole", version.at("whole")}, {"crops", version.at("crops")}});
    }
    return {{"title", document.at("title")},
            {"facts", facts(document)},
            {"shown", resultOf(document.at("versions"))},
            {"width", document.at("width")},
            {"height", document.at("height")},
            {"places", document.at("places")},
            {"versions", versions}};
}

}  // namespace

std::string inlineJson(const json& value) {
    std::string text = jsonText(value);
    for (std::size_t i = 0; (i = text.find('<', i)) != std::string::npos;) text.replace(i, 1, "\\u003c");
    return text;
}

std::string fixedText(const json& value, int digits) {
    if (!value.is_number()) return {};
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value.get<double>());
    return text;
}

json pageView(const json& document) {
    const json& versions = document.at("versions");
    const bool hasTruth = versions.front().contains("truth");
    json view{{"command", document.at("command")},
              {"title", document.at("title")},
              {"version", document.at("version")},
              {"machine", document.at("machine")},
              {"facts", facts(document)},
              {"allowed", "script-src 'unsafe-inline'"},
              {"data", inlineJson(viewerData(document))},
              {"hasTruth", hasTruth},
              {"hasMover", !at(versions.front(), "/moverPsnrY").is_null()},
              {"figures", figures(versions)},
              {"plot", noisePlot(versions)},
              {"frames", json::array()},
              {"hasFrames", !document.at("frames").empty()},
              {"settings", document.at("settings")},
              {"hasSettings", !document.at("settings").empty()},
              {"stages", document.at("stages")},
              {"maps", document.at("maps")},
              {"json", jsonText(document.at("result"), 2)},
              {"before", versions.front().at("whole")}};
    for (const json& frame : document.at("frames")) view["frames"].push_back(frameRow(frame, document));
    return view;
}

}  // namespace eishost
