#include "journal/json.h"

#include "whatif/encoding.h"

#include <stdexcept>

namespace journal {

namespace {

using whatif::utf8FromWide;

std::wstring textOf(const Json& json)
{
    return whatif::wideFromUtf8(json.get_ref<const std::string&>());
}

whatif::ChangeKind kindOf(const std::wstring& word)
{
    for (int kind = 0; kind <= static_cast<int>(whatif::ChangeKind::security); ++kind)
        if (word == whatif::wordOf(static_cast<whatif::ChangeKind>(kind)))
            return static_cast<whatif::ChangeKind>(kind);
    throw std::invalid_argument("no kind of change");
}

} // namespace

Json jsonOf(const whatif::State& state)
{
    if (!state.there)
        return nullptr;
    if (!state.hasParts)
        return utf8FromWide(state.text);
    Json parts = Json::object();
    for (const auto& [name, text] : state.parts)
        parts[utf8FromWide(name)] = utf8FromWide(text);
    return parts;
}

Json jsonOf(const whatif::Change& change)
{
    return {{"kind", utf8FromWide(whatif::wordOf(change.kind))},
            {"node", utf8FromWide(change.node)},
            {"object", utf8FromWide(change.object)},
            {"attribute", utf8FromWide(change.attribute)},
            {"action", utf8FromWide(actionOf(change))},
            {"before", jsonOf(change.before)},
            {"after", jsonOf(change.after)}};
}

whatif::State stateOf(const Json& json)
{
    if (json.is_null())
        return {};
    if (json.is_string())
        return textOf(json);
    whatif::State::Parts parts;
    for (const auto& [name, text] : json.get_ref<const Json::object_t&>())
        parts.emplace_back(whatif::wideFromUtf8(name), textOf(text));
    return parts;
}

whatif::Change changeOf(const Json& json)
{
    return {kindOf(textOf(json.at("kind"))), textOf(json.at("node")),    textOf(json.at("object")),
            textOf(json.at("attribute")),    stateOf(json.at("before")), stateOf(json.at("after"))};
}

std::string lineOf(const Json& json)
{
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

} // namespace journal
