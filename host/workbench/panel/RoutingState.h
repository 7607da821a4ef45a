// What a person is about to do with routes, the same in all views: the destination that is selected, the source that
// waits for TAKE, the locks of this window. Sets values through the session.
#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/Salvo.h"
#include "host/workbench/SessionListener.h"
#include "host/workbench/WorkbenchSession.h"

namespace velmora {

// Main thread. A destination is an attribute, by its name; a source is one of its possible values. Neither the names
// nor the values need exist any longer when something is done with them; then the session says so.
class RoutingState final : private SessionListener {
  public:
    // Not owned; it outlives the state.
    explicit RoutingState(WorkbenchSession& session);
    ~RoutingState() override;
    RoutingState(const RoutingState&) = delete;
    RoutingState& operator=(const RoutingState&) = delete;

    WorkbenchSession& session() const { return session_; }
    AttributesModel& attributes() const { return session_.attributes(); }
    // Called when what is said below may have changed. Observers live as long as the state.
    void observe(std::function<void()> observer) { observers_.push_back(std::move(observer)); }

    // "" for none. Selecting another one gives up what waits for TAKE; while an exchange waits for its second
    // destination, it is exchanged instead.
    const std::string& destination() const { return destination_; }
    void select(const std::string& destination);

    // With preset, a chosen source waits for TAKE.
    bool isPreset() const { return isPreset_; }
    void setPreset(bool isPreset);
    const std::optional<SalvoStep>& waiting() const { return waiting_; }
    void choose(const std::string& source);
    // Both at once, destination and source.
    void choose(const SalvoStep& step);
    void take();

    bool isLocked(const std::string& destination) const;
    void setLocked(const std::string& destination, bool isLocked);
    // Sets it in a moment unless it is locked in this window.
    void route(const std::string& destination, const std::string& source);

    // What the selected destination had before; none where that is not known or no longer possible.
    std::optional<std::string> previous() const;
    void takePrevious();
    std::optional<std::string> defaultOf(const std::string& destination) const;
    void takeDefault();
    // All destinations that can have their defaults, whatever they are thought to have now, for that may be long ago;
    // none that is locked.
    Salvo routesToDefaults() const;
    void route(const Salvo& salvo);

    bool isExchanging() const { return isExchanging_; }
    void setExchanging(bool isExchanging);

    // What was begun and not yet routed: another moment, another connection may make it wrong.
    void giveUp();

    // As a person calls it: its number and label.
    QString titleOf(const std::string& destination) const;

  private:
    void routeChanged(const RouteChange& change) override;
    void setFailed(const std::string& name, const std::string& why) override;
    void exchange(const std::string& with);
    void exchangeNow(const std::string& destination, const std::string& with);
    void dropWhatIsGone();
    // The value to be set so that the destination gets the current source of the other; none where that is not known.
    std::optional<std::string> sourceOf(const std::string& other, const std::string& destination) const;
    void tell() const;

    WorkbenchSession& session_;
    QObject timers_;  // none rings after the state has gone
    std::vector<std::function<void()>> observers_;
    std::string destination_;
    std::optional<SalvoStep> waiting_;
    bool isPreset_ = false;
    bool isExchanging_ = false;
};

}  // namespace velmora
