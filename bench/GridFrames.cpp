// velmora-bench-grid: how long one frame takes while the workbench's grid of 1,152 destinations and sources scrolls. On
// an invisible screen, without a plugin from a bundle and without a server: only drawing is measured.
#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QScrollBar>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "host/workbench/grid/CrosspointTable.h"
#include "plugin/VelmoraNodePluginProtocol.h"

namespace {

using namespace velmora;

constexpr int kSize = 1152;
constexpr int kFrames = 600;
constexpr QSize kWindow(1600, 1000);

class WidePlugin final : public VelmoraNodePluginProtocol {
  public:
    WidePlugin() {
        std::vector<std::string> names;
        std::vector<std::string> values;
        for (int number = 1; number <= kSize; ++number) {
            names.push_back(stringWithFormat("Output %li", number));
            values.push_back(stringWithFormat("%04li Camera %li", number, number));
        }
        names_ = makeStringList(std::move(names));
        values_ = makeStringList(std::move(values));
    }

    std::int32_t startAndSetCurrentValuesToDefaults(bool) override { return 0; }
    void stop() override {}
    void setDelegate(VelmoraNodePluginProtocol_Delegate*) override {}
    VelmoraNodePluginProtocol_Delegate* delegate() const override { return nullptr; }
    void setDefaultSettings(const DictionaryReference&) override {}
    DictionaryReference defaultSettings() override { return makeDictionary(); }
    StringList attributeNames() const override { return names_; }
    std::string pluginName() const override { return "Wide"; }
    std::optional<std::string> pluginVersionString() const override { return std::nullopt; }
    std::optional<std::string> displayNameOfAttributeWithName(const std::string& name) const override { return name; }
    std::optional<std::string> typeOfAttributeWithName(const std::string&) const override { return "MultipleValues"; }
    std::string currentValueOfAttributeWithName(const std::string&) override { return values_->front(); }
    std::optional<std::string> defaultValueOfAttributeWithName(const std::string&) const override {
        return values_->front();
    }
    std::optional<std::string> directionOfAttributeWithName(const std::string&) const override { return "Output"; }
    StringList possibleValuesOfAttributeWithName(const std::string&) const override { return values_; }
    std::int32_t setValueForAttributeWithName(const std::string&, const std::string&) override { return 0; }
    QWidget* settingsView() override { return nullptr; }

  private:
    StringList names_;
    StringList values_;
};

double milliseconds(const QElapsedTimer& since) {
    return static_cast<double>(since.nsecsElapsed()) / 1e6;
}

// A frame is drawn at once and in full, which is more than the event loop would draw of most.
std::vector<double> scroll(CrosspointTable& table, bool isDown, bool isAcross) {
    std::vector<double> frames;
    for (int i = 0; i < kFrames; ++i) {
        const auto move = [i](QScrollBar& bar) { bar.setValue(bar.maximum() * i / kFrames); };
        QElapsedTimer frame;
        frame.start();
        if (isDown) move(*table.verticalScrollBar());
        if (isAcross) move(*table.horizontalScrollBar());
        for (QWidget* const part :
             {table.viewport(), table.horizontalHeader()->viewport(), table.verticalHeader()->viewport()}) {
            part->repaint();
        }
        frames.push_back(milliseconds(frame));
    }
    std::sort(frames.begin(), frames.end());
    return frames;
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const WidePlugin plugin;
    AttributesModel attributes;
    attributes.reload(plugin);
    for (int row = 0; row < kSize; ++row) {
        attributes.setCurrentValue(attributes.nameAtRow(row),
                                   attributes.settableValuesAtRow(row).texts()[static_cast<std::size_t>(row)]);
    }
    QElapsedTimer opening;
    opening.start();
    CrosspointModel model(attributes);
    CrosspointTable table(model, [](const SalvoStep&) {});
    table.resize(kWindow);
    table.show();
    QCoreApplication::processEvents();
    std::printf("%d x %d crosspoints in %d x %d pixels, %d frames each\n", model.rowCount(), model.columnCount(),
                kWindow.width(), kWindow.height(), kFrames);
    std::printf("%-12s %8.1f ms\n", "opened", milliseconds(opening));
    struct Way {
        const char* name;
        bool isDown;
        bool isAcross;
    };
    for (const Way& way : {Way{"down", true, false}, {"across", false, true}, {"both", true, true}}) {
        const auto frames = scroll(table, way.isDown, way.isAcross);
        std::printf("%-12s %8.1f ms median, %.1f ms worst\n", way.name, frames[frames.size() / 2], frames.back());
    }
    return 0;
}
