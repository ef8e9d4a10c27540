#include "cli/JsonObject.h"

#include <cmath>
#include <cstdio>

namespace oxmesh {

std::string JsonObject::quote(const std::string& text)
{
    std::string out = "\"";
    for (char c : text) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", unsigned(static_cast<unsigned char>(c)));
                out += escaped;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

std::string JsonObject::number(double value)
{
    if (!std::isfinite(value))
        return "null";
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

void JsonObject::addRaw(const std::string& key, const std::string& json)
{
    if (!m_body.empty())
        m_body += ", ";
    m_body += quote(key) + ": " + json;
}

void JsonObject::add(const std::string& key, const std::string& value)
{
    addRaw(key, quote(value));
}
void JsonObject::add(const std::string& key, bool value)
{
    addRaw(key, value ? "true" : "false");
}
void JsonObject::add(const std::string& key, std::size_t value)
{
    addRaw(key, std::to_string(value));
}
void JsonObject::add(const std::string& key, long long value)
{
    addRaw(key, std::to_string(value));
}
void JsonObject::add(const std::string& key, double value)
{
    addRaw(key, number(value));
}

void JsonObject::add(const std::string& key, const std::array<double, 3>& values)
{
    addRaw(key, "[" + number(values[0]) + ", " + number(values[1]) + ", " + number(values[2]) + "]");
}

void JsonObject::add(const std::string& key, const std::vector<std::string>& values)
{
    std::string json;
    for (const std::string& value : values)
        json += (json.empty() ? "" : ", ") + quote(value);
    addRaw(key, "[" + json + "]");
}

void JsonObject::add(const std::string& key, const std::map<unsigned, std::size_t>& counts)
{
    std::string json;
    for (const auto& [size, count] : counts)
        json += (json.empty() ? "" : ", ") + quote(std::to_string(size)) + ": " + std::to_string(count);
    addRaw(key, "{" + json + "}");
}

}  // namespace oxmesh
