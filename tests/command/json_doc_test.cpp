// docs/rvcheck-json.md: its examples, and what comes out, have the fields that it tells.
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "support/check_case.h"

namespace {

using nlohmann::json;
using field_types = std::map<std::string, std::string>;

/// What the document says: the fields of each type of line, and the examples.
struct line_schema {
    std::map<std::string, field_types> types;
    std::vector<std::string> examples;
};

line_schema read_document() {
    line_schema schema;
    std::ifstream document(RVCHECK_JSON_DOC);
    std::string type;
    const std::regex field("\\| `([a-z]+)` \\| ((string|integer|number|boolean|object)( or null)?) \\|.*");
    for (std::string line; std::getline(document, line);) {
        std::smatch found;
        if (line.starts_with("## ")) {
            type = line.substr(3);
        } else if (line.starts_with("{")) {
            schema.examples.push_back(line);
        } else if (std::regex_match(line, found, field)) {
            schema.types[type][found[1]] = found[2];
        }
    }
    return schema;
}

std::string name_of_type(const json &value) {
    return value.is_number_integer() ? "integer" : value.type_name();
}

/// The line has the fields of its type, and no others.
void expect_as_told(const line_schema &schema, const std::string &text) {
    const json line = json::parse(text);
    const auto told = schema.types.find(line["type"]);
    ASSERT_NE(told, schema.types.end()) << text;
    EXPECT_EQ(line.size(), told->second.size()) << text;
    for (const auto &[name, type] : told->second) {
        ASSERT_TRUE(line.contains(name)) << name << " is missing: " << text;
        const std::string is = name_of_type(line[name]);
        EXPECT_TRUE(is == type || type == is + " or null" || (is == "null" && type.ends_with(" or null")))
            << name << " is " << is << ", told is " << type << ": " << text;
    }
}

class JsonDocument : public CheckCase {};

TEST_F(JsonDocument, TellsTheLinesThatComeOut) {
    const line_schema schema = read_document();
    std::filesystem::create_directory("cut");
    make({.series = 10, .customers = 0}, {"series-count", "ean-missing", "journal-short", "group-no-name"});
    const std::string command =
        RVCHECK " --rehearse --quiet --json lines . cut >people 2>&1; echo $? >status";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(get("status"), "12\n") << get("people");
    std::set<std::string> seen;
    std::string last;
    std::ifstream lines("lines");
    for (std::string line; std::getline(lines, line); last = line) {
        expect_as_told(schema, line);
        seen.insert(json::parse(line)["type"]);
    }
    EXPECT_EQ(json::parse(last)["type"], "run");
    EXPECT_EQ(seen.size(), schema.types.size());
    std::set<std::string> shown;
    for (const std::string &example : schema.examples) {
        expect_as_told(schema, example);
        shown.insert(json::parse(example)["type"]);
    }
    EXPECT_EQ(shown, seen);
}

}  // namespace
