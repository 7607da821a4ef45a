// What a command says: its document, and what went wrong, in words on standard error and as part of the document.
#pragma once

#include <QJsonObject>
#include <string>

#include "host/ExitCode.h"

namespace velmora {

// Main thread. One for each run of a command.
class Report {
  public:
    explicit Report(bool isJson) : isJson_(isJson) {}

    bool isJson() const { return isJson_; }
    // Says why the command fails. The first reason stands in the document.
    void complain(const std::string& reason);
    ExitCode fail(ExitCode code, const std::string& reason);
    // Prints the document, with "error" unless all was done.
    ExitCode print(QJsonObject document, ExitCode code);
    // The command has printed what says all, also of a failure.
    void noteDocument() { hasPrinted_ = true; }
    // Where JSON is wanted and no document was printed, one with nothing but the error.
    ExitCode finish(ExitCode code);

  private:
    const bool isJson_;
    bool hasPrinted_ = false;
    std::string reason_;
};

}  // namespace velmora
