#include "tools/fcoectl/schema/Types.h"

#include <string>

namespace fcoectl::schema {
namespace {

Json Type(const char* name) {
    return {{"type", name}};
}

Json ValueOf(const SheetColumn& column) {
    if (column.schema)
        return column.schema();
    return column.isNumber ? Integer() : Text();
}

} // namespace

Json Text() {
    return Type("string");
}

Json TextOf(std::initializer_list<const char*> values) {
    return {{"enum", values}};
}

Json Integer() {
    return Type("integer");
}

Json Number() {
    return Type("number");
}

Json Boolean() {
    return Type("boolean");
}

Json Only(Json value) {
    return {{"const", std::move(value)}};
}

Json OrNull(Json schema) {
    schema["type"] = {schema["type"], "null"};
    return schema;
}

Json ListOf(Json elements) {
    return {{"type", "array"}, {"items", std::move(elements)}};
}

Json Defined(const char* name) {
    return {{"$ref", std::string("#/$defs/") + name}};
}

Json Object(Members members) {
    Json object = {{"type", "object"}, {"properties", Json::object()}, {"required", Json::array()}};
    for (const auto& [key, value] : members) {
        object["properties"][key] = value;
        object["required"].push_back(key);
    }
    return object;
}

Json Row(const SheetColumns& columns) {
    Json object = {{"type", "object"}, {"properties", Json::object()}};
    for (const SheetColumn& column : columns) {
        Json& property = object["properties"][column.key] = ValueOf(column);
        property["title"] = column.title;
    }
    return object;
}

} // namespace fcoectl::schema
