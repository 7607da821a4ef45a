// What comes of something that can fail: its value, or the reason why there is none.
#pragma once

#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <variant>

namespace velmora {

// Words for a person, fit to stand behind a colon: "No such file or directory", "it is a pipe, not a file".
struct Failure {
    std::string reason;
};

// The system's words for an error number.
inline Failure failureOfSystem(int error) {
    return {std::generic_category().message(error)};
}

// A value of its own, owned like any other. To ask for what is not there throws std::bad_variant_access or
// std::bad_optional_access.
template <typename Value>
class [[nodiscard]] Result {
  public:
    Result(Value value) : outcome_(std::in_place_index<0>, std::move(value)) {}
    Result(Failure failure) : outcome_(std::in_place_index<1>, std::move(failure)) {}

    // Whether there is a value.
    explicit operator bool() const { return outcome_.index() == 0; }
    const Value& operator*() const& { return std::get<0>(outcome_); }
    Value& operator*() & { return std::get<0>(outcome_); }
    Value&& operator*() && { return std::get<0>(std::move(outcome_)); }
    const Value* operator->() const { return &**this; }
    Value* operator->() { return &**this; }
    // Why there is none.
    const Failure& failure() const { return std::get<1>(outcome_); }

  private:
    std::variant<Value, Failure> outcome_;
};

// For what gives nothing but success.
template <>
class [[nodiscard]] Result<void> {
  public:
    Result() = default;
    Result(Failure failure) : failure_(std::move(failure)) {}

    explicit operator bool() const { return !failure_; }
    const Failure& failure() const { return failure_.value(); }

  private:
    std::optional<Failure> failure_;
};

}  // namespace velmora
