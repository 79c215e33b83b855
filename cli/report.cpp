// SPDX-License-Identifier: LGPL-2.1-or-later
#include "report.h"

#include <cstring>

namespace {

constexpr std::string_view durations[] = {"reboot", "reinstall", "disk_change", "docking",
                                          "cloning"};

json stability_in(const stability &lasts)
{
    const change changes[] = {lasts.reboot, lasts.reinstall, lasts.disk_change, lasts.docking,
                              lasts.cloning};
    json object = json::object();
    for (std::size_t at = 0; at < std::size(durations); ++at)
        object.add(std::string(durations[at]), words_for(changes[at]));
    return object;
}

json steps_in_json(const std::vector<step> &steps)
{
    json::array elements;
    for (const step &one : steps) {
        json object = json::object();
        object.add("source", one.source);
        object.add("result", one.result);
        object.add("text", one.text);
        if (!one.below.empty())
            object.add("steps", steps_in_json(one.below));
        elements.push_back(std::move(object));
    }
    return elements;
}

json fact_in_json(const finding &one, detail how_much)
{
    json object = json::object();
    object.add("value", to_json(one.value));
    object.add("status", name_of(status_of(one)));
    object.add("reason", one.why->code);
    object.add("usable_as_identity", is_usable_as_identity(one));
    object.add("source", one.source.empty() ? json() : json(one.source));
    if (how_much == detail::brief)
        return object;
    object.add("explanation", explanation_of(one));
    object.add("advice", advice_on(one));
    object.add("stability", stability_in(one.what->lasts));
    object.add("steps", steps_in_json(one.steps));
    if (one.what->kind == fact_kind::disk)
        object.add("layers", layers_in(one));
    json::array lines;
    for (const std::string &line : one.trace)
        lines.emplace_back(line);
    object.add("trace", std::move(lines));
    return object;
}

json enumeration(json::array values)
{
    json object = json::object();
    object.add("enum", std::move(values));
    return object;
}

json type(const char *name)
{
    json object = json::object();
    object.add("type", name);
    return object;
}

json array_of(json items)
{
    json object = type("array");
    object.add("items", std::move(items));
    return object;
}

json reference(const char *name)
{
    json object = json::object();
    object.add("$ref", std::string("#/$defs/") + name);
    return object;
}

json types(json::array names)
{
    json object = json::object();
    object.add("type", std::move(names));
    return object;
}

json object_with(json members, json::array required)
{
    json object = type("object");
    object.add("properties", std::move(members));
    object.add("required", std::move(required));
    return object;
}

json::array reason_codes()
{
    json::array codes;
    for (const reason *const one : all_reasons())
        codes.emplace_back(one->code);
    return codes;
}

json::array statuses()
{
    json::array names;
    for (const fact_status status :
         {fact_status::known, fact_status::absent, fact_status::needs_root, fact_status::refused,
          fact_status::not_determinable})
        names.emplace_back(name_of(status));
    return names;
}

json schema_of_fact()
{
    json members = json::object();
    members.add("value", types({"string", "integer", "null"}));
    members.add("status", enumeration(statuses()));
    members.add("reason", enumeration(reason_codes()));
    members.add("usable_as_identity", type("boolean"));
    members.add("source", types({"string", "null"}));
    members.add("explanation", type("string"));
    members.add("advice", type("string"));
    members.add("stability", reference("stability"));
    members.add("steps", array_of(reference("step")));
    members.add("layers", type("object"));
    members.add("trace", array_of(type("string")));
    return object_with(std::move(members),
                       {"value", "status", "reason", "usable_as_identity", "source"});
}

json schema_of_step()
{
    json::array results = {"no-answer", "not-queried"};
    for (json &code : reason_codes())
        results.push_back(std::move(code));
    json members = json::object();
    members.add("source", type("string"));
    members.add("result", enumeration(std::move(results)));
    members.add("text", type("string"));
    members.add("steps", array_of(reference("step")));
    return object_with(std::move(members), {"source", "result", "text"});
}

json schema_of_stability()
{
    json members = json::object();
    json::array required;
    for (const std::string_view one : durations) {
        members.add(std::string(one),
                    enumeration({words_for(change::same), words_for(change::may_change),
                                 words_for(change::changes)}));
        required.emplace_back(std::string(one));
    }
    return object_with(std::move(members), std::move(required));
}

json schema_of_facts()
{
    json members = json::object();
    for (const fact &one : all_facts())
        members.add(one.name, reference("fact"));
    json object = type("object");
    object.add("properties", std::move(members));
    object.add("additionalProperties", false);
    return object;
}

} // namespace

json to_json(const answer &value)
{
    if (const auto *const text = std::get_if<std::string>(&value))
        return *text;
    if (const auto *const number = std::get_if<unsigned int>(&value))
        return *number;
    return {};
}

json layers_in(const finding &one)
{
    json object = json::object();
    json::array top;
    if (!one.layers.empty())
        top.emplace_back(one.layers.front().name);
    object.add("/", std::move(top));
    for (const storage_layer &layer : one.layers)
        object.add(layer.name, json::array(layer.below.begin(), layer.below.end()));
    return object;
}

json document_of(const findings &found, detail how_much, bool is_redacted)
{
    json facts = json::object();
    for (const finding &one : found)
        facts.add(one.what->name, fact_in_json(one, how_much));
    json document = json::object();
    document.add("schema", schema_version);
    if (is_redacted)
        document.add("redacted", true);
    document.add("facts", std::move(facts));
    return document;
}

json document_schema()
{
    json version = json::object();
    version.add("const", schema_version);
    json members = json::object();
    members.add("schema", std::move(version));
    members.add("redacted", type("boolean"));
    members.add("facts", schema_of_facts());
    json definitions = json::object();
    definitions.add("fact", schema_of_fact());
    definitions.add("step", schema_of_step());
    definitions.add("stability", schema_of_stability());

    json schema = json::object();
    schema.add("$schema", "https://json-schema.org/draft/2020-12/schema");
    schema.add("title", "Facts of a machine");
    schema.add("type", "object");
    schema.add("properties", std::move(members));
    schema.add("required", json::array{"schema", "facts"});
    schema.add("$defs", std::move(definitions));
    return schema;
}
