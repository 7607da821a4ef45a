#include "host/terminal/Report.h"

#include "host/Console.h"
#include "host/terminal/Json.h"

namespace velmora {

void Report::complain(const std::string& reason) {
    if (reason_.empty()) reason_ = reason;
    velmora::complain(reason);
}

ExitCode Report::fail(ExitCode code, const std::string& reason) {
    complain(reason);
    return code;
}

ExitCode Report::print(QJsonObject document, ExitCode code) {
    if (code != ExitCode::done)
        document.insert("error", QJsonObject{{"code", static_cast<int>(code)}, {"message", jsonValue(reason_)}});
    printJson(document);
    hasPrinted_ = true;
    return code;
}

ExitCode Report::finish(ExitCode code) {
    if (!isJson_ || hasPrinted_ || code == ExitCode::done) return code;
    return print({}, code);
}

}  // namespace velmora
