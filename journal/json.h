// Changes as JSON, both ways.
//
//     {"kind":"service setting","node":"SRV1","object":"service KestelDB1","attribute":"start","action":"start",
//      "before":"manual","after":"automatic"}
//
// A state is null for nothing, a text, or an object with a text for each part. What the parts are stands in
// whatif/change.h.
#pragma once

#include "whatif/change.h"

#include <nlohmann/json.hpp>

namespace journal {

using Json = nlohmann::ordered_json;

Json jsonOf(const whatif::State& state);
Json jsonOf(const whatif::Change& change);

// Throw Json::exception or std::invalid_argument for what is none.
whatif::State stateOf(const Json& json);
whatif::Change changeOf(const Json& json);

std::string lineOf(const Json& json); // one line of ASCII

} // namespace journal
