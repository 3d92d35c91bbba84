#include <kainjow/mustache.hpp>

#include "host/program/exit_codes.h"
#include "host/report/page_text.h"

namespace eishost {

namespace {

using kainjow::mustache::data;

data dataOf(const nlohmann::json& value) {
    switch (value.type()) {
        case nlohmann::json::value_t::object: {
            data object(data::type::object);
            for (const auto& [name, member] : value.items()) object.set(name, dataOf(member));
            return object;
        }
        case nlohmann::json::value_t::array: {
            data list(data::type::list);
            for (const nlohmann::json& member : value) list.push_back(dataOf(member));
            return list;
        }
        case nlohmann::json::value_t::string: {
            const auto& text = value.get_ref<const std::string&>();
            return text.empty() ? data(false) : data(text);
        }
        case nlohmann::json::value_t::boolean:
            return data(value.get<bool>());
        case nlohmann::json::value_t::null:
            return data(false);
        default:
            return data(value.dump());
    }
}

}  // namespace

std::string renderPage(const char* pageTemplate, const nlohmann::json& view) {
    kainjow::mustache::mustache page{std::string(pageTemplate)};
    if (!page.is_valid()) throw HostError(kExitInternal, "the page's template: " + page.error_message());
    data values = dataOf(view);
    values.set("hasFacts", data(view.contains("facts")));
    values.set("head", data(kainjow::mustache::partial([] { return std::string(kPageHead); })));
    values.set("style", data(std::string(kPageStyle)));
    values.set("script", data(std::string(kPageScript)));
#ifndef __clang_analyzer__  // which finds a virtual call in a constructor of the templates' library
    return page.render(values);
#else
    return {};
#endif
}

}  // namespace eishost
