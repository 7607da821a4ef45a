// A salvo: values for several attributes, to be set in this order. Its file is a text in UTF-8 with one NAME=VALUE on
// each line; blank lines and lines that begin with "#" say nothing. A name, and a value, may hold "=" themselves, so
// where a line is split, the names of the attributes decide. Blanks around a name mean nothing unless an attribute's
// own name has them; the value is given as it is written.
//
// Any thread. Failures are fit to stand behind the name of the file and a colon: "line 3: there is no ...".
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Result.h"

namespace velmora {

struct SalvoStep {
    std::string name;
    std::string value;

    friend bool operator==(const SalvoStep&, const SalvoStep&) = default;
};
using Salvo = std::vector<SalvoStep>;

struct SalvoLine {
    std::size_t number;  // in the document, from 1
    std::string text;    // with at least one "=", and no control character
};

// For the one who reads the file.
inline constexpr std::size_t kSalvoByteLimit = 4'194'304;
inline constexpr std::size_t kMaximumSalvoSteps = 10'000;

// The lines that say something. Line ends may be those of other systems.
Result<std::vector<SalvoLine>> salvoLines(std::string_view document);
// Each way to split NAME=VALUE, the shortest name first.
std::vector<SalvoStep> splitsOf(std::string_view line);
// The way that gives a name for which `isName` holds, as it is written or without the blanks around it; a failure when
// there is none or more than one.
Result<SalvoStep> stepInLine(std::string_view line, const std::function<bool(const std::string& name)>& isName);
// All steps of a document, each line by `stepIn`. The first line that is wrong fails it.
Result<Salvo> salvoInDocument(std::string_view document,
                              const std::function<Result<SalvoStep>(const std::string& line)>& stepIn);

// The document with these steps. A failure when one of them cannot stand on a line of its own.
Result<std::string> documentWithSalvo(const Salvo& salvo);

}  // namespace velmora
