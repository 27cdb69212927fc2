// docs/rvcheck-json.md: its examples, and what comes out, have the fields that it tells.
#include <map>
#include <nlohmann/json.hpp>
#include <regex>

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

/// The line has the fields of its type, and no others. Gives its type.
std::string expect_as_told(const line_schema &schema, const std::string &text) {
    const json line = json::parse(text);
    const auto told = schema.types.find(line["type"]);
    const field_types fields = told == schema.types.end() ? field_types{} : told->second;
    EXPECT_EQ(line.size(), fields.size()) << text;
    for (const auto &[name, type] : fields) {
        const json value = line.value(name, json{json::value_t::discarded});
        const std::string is = value.is_number_integer() ? "integer" : value.type_name();
        EXPECT_TRUE(is == type || type == is + " or null" || (is == "null" && type.ends_with(" or null")))
            << name << " is " << is << ", told is " << type << ": " << text;
    }
    return line["type"];
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
    for (std::string line; std::getline(lines, line);) {
        last = expect_as_told(schema, line);
        seen.insert(last);
    }
    EXPECT_EQ(last, "run");
    EXPECT_EQ(seen.size(), schema.types.size());
    for (const std::string &example : schema.examples) {
        seen.erase(expect_as_told(schema, example));
    }
    EXPECT_TRUE(seen.empty()) << *seen.begin() << " has no example";
}

}  // namespace
