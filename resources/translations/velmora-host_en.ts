<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>Words</name>
    <message numerus="yes">
        <source>Route %n destinations to their defaults? Those that are locked stay as they are.</source>
        <translation>
            <numerusform>Route %n destination to its default? Those that are locked stay as they are.</numerusform>
            <numerusform>Route %n destinations to their defaults? Those that are locked stay as they are.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n match: type more, or choose by the arrow keys.</source>
        <translation>
            <numerusform>%n matches: type more, or choose by the arrow keys.</numerusform>
            <numerusform>%n match: type more, or choose by the arrow keys.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>and %n more</source>
        <translation>
            <numerusform>and %n more</numerusform>
            <numerusform>and %n more</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The current routes are taken, but for %n that could not be read.</source>
        <translation>
            <numerusform>The current routes are taken, but for %n that could not be read.</numerusform>
            <numerusform>The current routes are taken, but for %n that could not be read.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n steps differ from the values that were read last.</source>
        <translation>
            <numerusform>%1 of %n step differs from the values that were read last.</numerusform>
            <numerusform>%1 of %n steps differ from the values that were read last.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The plugin connects anew and then routes all %n destinations to their defaults, over the operator&apos;s routes.</source>
        <translation>
            <numerusform>The plugin connects anew and then routes %n destination to its default, over the operator&apos;s route.</numerusform>
            <numerusform>The plugin connects anew and then routes all %n destinations to their defaults, over the operator&apos;s routes.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Found: %1 and %n more.</source>
        <translation>
            <numerusform>Found: %1 and %n more.</numerusform>
            <numerusform>Found: %1 and %n more.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n attributes</source>
        <translation>
            <numerusform>%n attribute</numerusform>
            <numerusform>%n attributes</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n inputs</source>
        <translation>
            <numerusform>%n input</numerusform>
            <numerusform>%n inputs</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The window stood still %n times, for %1 in all, while the plugin read its labels.</source>
        <translation>
            <numerusform>The window stood still %n time, for %1 in all, while the plugin read its labels.</numerusform>
            <numerusform>The window stood still %n times, for %1 in all, while the plugin read its labels.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The window stood still %n times, for %1 in all.</source>
        <translation>
            <numerusform>The window stood still %n time, for %1 in all.</numerusform>
            <numerusform>The window stood still %n times, for %1 in all.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Change notice %1 at %2: %n attributes</source>
        <translation>
            <numerusform>Change notice %1 at %2: %n attribute</numerusform>
            <numerusform>Change notice %1 at %2: %n attributes</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The device answers slowly: %n of the current values were not read. Refresh Values reads them.</source>
        <translation>
            <numerusform>The device answers slowly: %n of the current values was not read. Refresh Values reads it.</numerusform>
            <numerusform>The device answers slowly: %n of the current values were not read. Refresh Values reads them.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>DEFAULTS ARMED: each connection, also after a mere restart of the server, routes all %n destinations to their defaults. The settings are locked meanwhile.</source>
        <translation>
            <numerusform>DEFAULTS ARMED: each connection, also after a mere restart of the server, routes %n destination to its default. The settings are locked meanwhile.</numerusform>
            <numerusform>DEFAULTS ARMED: each connection, also after a mere restart of the server, routes all %n destinations to their defaults. The settings are locked meanwhile.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>EDITED, NOT APPLIED: %1 (%n outputs in all).</source>
        <translation>
            <numerusform>EDITED, NOT APPLIED: %1 (%n output in all).</numerusform>
            <numerusform>EDITED, NOT APPLIED: %1 (%n outputs in all).</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n are not known.</source>
        <translation>
            <numerusform>%n is not known.</numerusform>
            <numerusform>%n are not known.</numerusform>
        </translation>
    </message>
</context>
</TS>
