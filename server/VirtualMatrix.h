// A matrix without hardware: its size, its labels and which input feeds which output.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Result.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

// The state of a matrix, in the order of its numbers: item 0 belongs to number 1. Lists may be shorter than the matrix.
struct MatrixContents {
    std::vector<std::string> inputLabels;
    std::vector<std::string> outputLabels;
    std::vector<int> routes;  // for each output the number of its input, counted from 1
};

// Single values, by the numbers that they belong to.
struct MatrixChange {
    std::map<int, std::string> inputLabels;
    std::map<int, std::string> outputLabels;
    std::map<int, int> routes;  // from an output to its input
};

// One value that is no longer what it was.
struct MatrixNews {
    enum class What { route, inputLabel, outputLabel };

    What what;
    int number;              // of the output, or of the input whose label it is
    int input;               // of a route; otherwise 0
    std::string_view label;  // of a label; otherwise empty
    std::string_view by;     // whoever changed it
};

// Inputs and outputs are counted from 1, as people and the wire count them. Any thread; the size never changes.
class VirtualMatrix {
  public:
    static constexpr int kMaximumSize = 65536;
    static constexpr std::size_t kMaximumLabelBytes = 1024;  // a reply with one fits what clients read at once

    // 1 to kMaximumSize each. Labels are "Input 1" and "Output 1" and so on; output n is fed by input n, or from input
    // 1 on again where there are fewer inputs.
    VirtualMatrix(int inputs, int outputs);

    int inputs() const { return inputs_; }
    int outputs() const { return outputs_; }

    // None for an output that the matrix does not have.
    std::optional<int> routedInput(int output) const EXCLUDES(mutex_);
    // False, with nothing changed, for a number that the matrix does not have.
    bool route(int output, int input, std::string_view by = {}) EXCLUDES(mutex_);
    // All or nothing: numbers that the matrix does not have, and labels that are too long, not UTF-8 or hold a control
    // character are a failure.
    Result<void> change(const MatrixChange& change, std::string_view by) EXCLUDES(mutex_);

    // Append the label to a text; false, with nothing appended, for a number that the matrix does not have.
    bool appendInputLabel(int input, std::string& text) const EXCLUDES(mutex_);
    bool appendOutputLabel(int output, std::string& text) const EXCLUDES(mutex_);

    // Takes over what is given and keeps the rest. Control characters in a label become blanks, so that a label is
    // always one line on the wire. All or nothing: contents that do not fit are a failure.
    Result<void> apply(MatrixContents contents) EXCLUDES(mutex_);
    MatrixContents contents() const EXCLUDES(mutex_);

    // Called after each change, on the thread that made it. Set it before other threads know the matrix.
    void setChangeObserver(std::function<void()> observer) { changeObserver_ = std::move(observer); }
    // Called for each value that route or change has changed, in the order of the changes; must not call the matrix.
    // Set it before other threads know the matrix.
    void setNewsObserver(std::function<void(const MatrixNews&)> observer) { newsObserver_ = std::move(observer); }

  private:
    Result<void> check(const MatrixChange& change) const;
    bool setRoute(int output, int input, std::string_view by) REQUIRES(mutex_);
    bool setLabel(MatrixNews::What what, int number, const std::string& label, std::string_view by) REQUIRES(mutex_);
    void notifyChange() const;

    const int inputs_;
    const int outputs_;
    std::function<void()> changeObserver_;
    std::function<void(const MatrixNews&)> newsObserver_;
    mutable Mutex mutex_;
    MatrixContents contents_ GUARDED_BY(mutex_);  // every list as long as the matrix
};

}  // namespace velmora
