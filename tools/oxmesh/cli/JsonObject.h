// A flat JSON object written field by field, for `oxmesh info --json`.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace oxmesh {

class JsonObject {
public:
    void add(const std::string& key, const std::string& value);
    void add(const std::string& key, const char* value) { add(key, std::string(value)); }
    void add(const std::string& key, bool value);
    void add(const std::string& key, std::size_t value);
    void add(const std::string& key, long long value);
    /// Written with 9 significant digits; non-finite values become null.
    void add(const std::string& key, double value);
    void add(const std::string& key, const std::array<double, 3>& values);
    void add(const std::string& key, const std::vector<std::string>& values);
    /// An object of count per polygon size: {"3": 468, "4": 32}.
    void add(const std::string& key, const std::map<unsigned, std::size_t>& counts);

    /// The object on one line, "{...}".
    std::string str() const { return "{" + m_body + "}"; }

    /// A JSON string literal with quotes, backslashes and control characters escaped.
    static std::string quote(const std::string& text);
    /// A JSON number with 9 significant digits, or null when not finite.
    static std::string number(double value);

private:
    void addRaw(const std::string& key, const std::string& json);
    std::string m_body;
};

}  // namespace oxmesh
