// Runs of the tool, and states to run it on. For programs without the test framework, too.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "nvutil/tool.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/utilitiesdll/bytebuffer.h"

struct ToolResult {
    int status;
    std::string out;
    std::string error;
};

inline ToolResult Nvutil(const std::vector<std::string>& arguments, const std::string& input = {}) {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream error;
    const int status = RunTool(arguments, in, out, error);
    return {status, out.str(), error.str()};
}

inline std::string TextOf(const ByteBuffer& bytes) {
    return {bytes.begin(), bytes.end()};
}

inline ByteBuffer BytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

/// `{"id": {"feature": 12}, "value": {"integer": 300}}`
inline std::string IntegerAttribute(int feature, int number) {
    return R"({"id": {"feature": )" + std::to_string(feature) + R"(}, "value": {"integer": )" +
           std::to_string(number) + "}}";
}

/// A document with one namespace, of which these are the attributes.
inline std::string Document(const std::string& attributes) {
    return R"({"driverVersion": "1.2.3.4", "namespaces": {"1": [)" + attributes + "]}}";
}

/// The state of a document.
inline std::string Build(const std::string& json) {
    return Nvutil({"state", "build", "-"}, json).out;
}

/// The namespaces' state inside of a state.
inline ByteBuffer Expand(const std::string& state) {
    PersistentAttributes::PersistentAttributesHeaderType header;
    ByteBuffer uncompressed;
    PersistentAttributes::GetComponentsFromStateDataBuffer(BytesOf(state), header, uncompressed);
    return uncompressed;
}

/// A state around any bytes, sound or not.
inline std::string Persist(const ByteBuffer& uncompressed) {
    PersistentAttributes::PersistentAttributesHeaderType header;
    PersistentAttributes::InitializeHeaderStructure(header);
    ByteBuffer state;
    PersistentAttributes::CreateStateDataFromComponents(header, uncompressed, state);
    return TextOf(state);
}

/// A few attributes with a list in a list, small enough to damage every bit of.
inline std::string SmallDocument() {
    return Document(R"(
        {"id": {"feature": 12}, "value": {"integer": 300}},
        {"id": {"newFeature": "X"}, "value": {"option": {"newValue": "A4"}}, "unspecified": true},
        {"id": {"capability": {"feature": 16, "type": 3}}, "value": {"list": {"type": 2, "items": [
            {"id": {"item": 0}, "value": {"list": {"type": 0, "items": [
                {"id": {"feature": 172}, "value": {"dimension": 215900}}]}}},
            {"id": {"item": 1}, "value": {"blob": "0AFF"}}]}}},
        {"id": {"feature": 9}, "value": {"string": "text"}})");
}
