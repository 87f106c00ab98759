// The format of the answers on the control socket.
#include "control/answer.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>

namespace NS_REFERENCE_HOST {

namespace {

Json::Value Failure(const std::string& reason) {
    Json::Value answer;
    answer["ok"] = false;
    answer["error"] = reason;
    return answer;
}

}  // namespace

std::string WriteJson(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    // No escapes: they need valid characters, and a name may hold any bytes.
    builder["emitUTF8"] = true;
    const std::unique_ptr<Json::StreamWriter> writer(builder.newStreamWriter());
    std::ostringstream out;
    writer->write(value, &out);
    // A stream without memory drops the rest, and only its state tells: what it has is half a text.
    if (!out.good()) {
        throw std::bad_alloc();
    }
    return out.str();
}

Json::Value ReadJsonObject(const std::string& text) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
        throw std::runtime_error("no JSON: " + errors);
    }
    if (!value.isObject()) {
        throw std::runtime_error("no JSON object");
    }
    return value;
}

std::string MakeSuccess(const Json::Value& data) {
    Json::Value answer;
    answer["ok"] = true;
    answer["data"] = data;
    return WriteJson(answer);
}

std::string MakeFailure(const std::string& reason) {
    return WriteJson(Failure(reason));
}

std::string MakeFailure(const std::string& reason, unsigned int code) {
    Json::Value answer = Failure(reason);
    answer["code"] = code;
    return WriteJson(answer);
}

}  // namespace NS_REFERENCE_HOST
