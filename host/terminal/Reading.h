// Asking the device for the value of an attribute, and showing it.
#pragma once

#include <QJsonObject>
#include <optional>
#include <string>

#include "host/PluginHost.h"
#include "host/Values.h"
#include "host/terminal/Context.h"
#include "host/terminal/Deadline.h"

namespace velmora {

struct Reading {
    // As the plugin offers it, with its label, where it is one of the possible values. None when nobody gave it.
    std::optional<std::string> value;
    std::optional<bool> isAnswered;  // none where the plugin does not tell
    bool ranOutOfTime = false;
    std::string reason;  // why there is no value
};

// Main thread; serves the event loop once after the device has answered.
Reading readValue(PluginHost& host, const std::string& name);
// While it lives, a person at the terminal is told when the plugin keeps the main thread waiting for this attribute.
Deadline noticeOfDelay(const std::string& name);
// Of a device that was not asked.
Reading unread(const PluginHost& host);
// "there is no current value of ..."
std::string absenceText(const std::string& name, const Reading& reading);

// The text that the plugin offers for the value, where it offers one: its own may lack the label.
std::string labelled(const Values& values, const std::string& value);
// "not known" for none.
std::string shownValue(const Reading& reading);
// What a program wants to know of an attribute and its value, with numbers where there are some.
QJsonObject recordOf(const Context& context, const std::string& name, const Reading& reading);
// "answered", if it is known.
void addAnswer(QJsonObject& document, const Reading& reading);

}  // namespace velmora
