// The results, as one table and one JSON file.
#pragma once

#include <QJsonObject>
#include <optional>
#include <string>
#include <vector>

namespace velmora::bench {

// One line of the table: a figure, and if there is a comparison, its figure and the target.
struct Row {
    std::string group;
    std::string name;
    std::string placement = {};  // "" where it does not matter
    std::optional<double> figure = {};
    std::string unit = {};
    std::string against = {};
    std::optional<double> againstFigure = {};
    std::optional<double> ratio = {};
    std::string target = {};
    std::optional<bool> met = {};  // none: only written down, or not measured
    std::string note = {};
    std::optional<int> size = {};  // inputs of the matrix, where the same is measured for several
    // The values behind the medians; only in the JSON file.
    std::vector<double> rounds = {};
    std::vector<double> againstRounds = {};

    // "met", "missed", "written down", or "not measured" for a row without a figure.
    std::string verdict() const;
};

class Report {
  public:
    // Also prints the row on stderr, to show progress.
    void add(Row row);

    void print() const;
    // Throws Wrong when the file cannot be written.
    void write(const std::string& path, const QJsonObject& machine) const;

  private:
    std::vector<Row> rows_;
};

}  // namespace velmora::bench
