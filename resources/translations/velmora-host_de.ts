<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>QPlatformTheme</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Verwerfen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>&amp;Yes</source>
        <translation>&amp;Ja</translation>
    </message>
</context>
<context>
    <name>Words</name>
    <message>
        <source>each time its device connects, also when it merely restarts or is announced anew, by whomever, all outputs are routed to their defaults over the operator&apos;s routes</source>
        <translation>werden bei jeder Verbindung mit dem Gerät, auch wenn es nur neu startet oder neu angekündigt wird, von wem auch immer, alle Ausgänge auf ihre Vorgaben geschaltet, über die Routen des Bedieners hinweg</translation>
    </message>
    <message>
        <source>No.</source>
        <translation>Nr.</translation>
    </message>
    <message>
        <source>Display Name</source>
        <translation>Anzeigename</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Vorgabe</translation>
    </message>
    <message>
        <source>Current Value</source>
        <translation>Aktueller Wert</translation>
    </message>
    <message>
        <source>not read</source>
        <translation>nicht gelesen</translation>
    </message>
    <message>
        <source>not known</source>
        <translation>nicht bekannt</translation>
    </message>
    <message>
        <source>not known now</source>
        <translation>zurzeit nicht bekannt</translation>
    </message>
    <message>
        <source>not its default</source>
        <translation>nicht die Vorgabe</translation>
    </message>
    <message>
        <source>locked in this window</source>
        <translation>in diesem Fenster gesperrt</translation>
    </message>
    <message>
        <source>the last set failed</source>
        <translation>zuletzt nicht gesetzt</translation>
    </message>
    <message>
        <source>edited in the settings</source>
        <translation>in den Einstellungen geändert</translation>
    </message>
    <message>
        <source>Click to sort; the third click gives the plugin&apos;s order</source>
        <translation>Klicken sortiert; der dritte Klick stellt die Reihenfolge des Plugins her</translation>
    </message>
    <message>
        <source>Possible values</source>
        <translation>Mögliche Werte</translation>
    </message>
    <message>
        <source>Attributes</source>
        <translation>Attribute</translation>
    </message>
    <message>
        <source>State of the connection</source>
        <translation>Zustand der Verbindung</translation>
    </message>
    <message>
        <source>WAITING</source>
        <translation>WARTET</translation>
    </message>
    <message>
        <source>%1 is output %2 in the settings, but its attribute still routes output %3</source>
        <translation>%1 ist in den Einstellungen Ausgang %2, das Attribut schaltet aber noch Ausgang %3</translation>
    </message>
    <message>
        <source>output %1 is no longer in the settings, but still an attribute</source>
        <translation>Ausgang %1 steht nicht mehr in den Einstellungen, ist aber noch ein Attribut</translation>
    </message>
    <message>
        <source>output %1 (%2) is in the settings, but no attribute yet</source>
        <translation>Ausgang %1 (%2) steht in den Einstellungen, ist aber noch kein Attribut</translation>
    </message>
    <message>
        <source>output %1 is called %2 in the settings, but its attribute still %3</source>
        <translation>Ausgang %1 heißt in den Einstellungen %2, das Attribut aber noch %3</translation>
    </message>
    <message>
        <source>%1 has the default input %2 in the settings, but its attribute still %3</source>
        <translation>%1 hat in den Einstellungen den Vorgabe-Eingang %2, das Attribut aber noch %3</translation>
    </message>
    <message>
        <source>routed</source>
        <translation>geschaltet</translation>
    </message>
    <message>
        <source>waits for TAKE</source>
        <translation>wartet auf TAKE</translation>
    </message>
    <message>
        <source>locked</source>
        <translation>gesperrt</translation>
    </message>
    <message>
        <source>Crosspoints</source>
        <translation>Koppelpunkte</translation>
    </message>
    <message>
        <source>Find destinations</source>
        <translation>Ziele suchen</translation>
    </message>
    <message>
        <source>Find sources</source>
        <translation>Quellen suchen</translation>
    </message>
    <message>
        <source>Click a crosspoint, or the name of a destination</source>
        <translation>Klicken Sie auf einen Koppelpunkt oder den Namen eines Ziels</translation>
    </message>
    <message>
        <source>Click the name of the destination to exchange with %1</source>
        <translation>Klicken Sie auf den Namen des Ziels, das mit %1 tauscht</translation>
    </message>
    <message>
        <source>Selected: %1</source>
        <translation>Gewählt: %1</translation>
    </message>
    <message>
        <source>Histor&amp;y</source>
        <translation>V&amp;erlauf</translation>
    </message>
    <message>
        <source>&amp;Log</source>
        <translation>Pr&amp;otokoll</translation>
    </message>
    <message>
        <source>Routes that have changed</source>
        <translation>Geänderte Routen</translation>
    </message>
    <message>
        <source>by others</source>
        <translation>von anderen</translation>
    </message>
    <message>
        <source>Save as CSV…</source>
        <translation>Als CSV speichern…</translation>
    </message>
    <message>
        <source>Log</source>
        <translation>Protokoll</translation>
    </message>
    <message>
        <source>Disarm…</source>
        <translation>Entschärfen…</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Anwenden</translation>
    </message>
    <message>
        <source>Select a destination first</source>
        <translation>Wählen Sie zuerst ein Ziel</translation>
    </message>
    <message>
        <source>Direct</source>
        <translation>Direkt</translation>
    </message>
    <message>
        <source>Preset</source>
        <translation>Vorwahl</translation>
    </message>
    <message>
        <source>A source is routed as soon as it is chosen</source>
        <translation>Eine Quelle wird geschaltet, sobald sie gewählt ist</translation>
    </message>
    <message>
        <source>A chosen source waits for TAKE</source>
        <translation>Eine gewählte Quelle wartet auf TAKE</translation>
    </message>
    <message>
        <source>TAKE</source>
        <translation>TAKE</translation>
    </message>
    <message>
        <source>Route the source that waits (F12)</source>
        <translation>Die vorgewählte Quelle schalten (F12)</translation>
    </message>
    <message>
        <source>PREVIOUS</source>
        <translation>ZURÜCK</translation>
    </message>
    <message>
        <source>DEFAULT</source>
        <translation>VORGABE</translation>
    </message>
    <message>
        <source>Route the default of the selected destination</source>
        <translation>Das gewählte Ziel auf seine Vorgabe schalten</translation>
    </message>
    <message>
        <source>ALL TO DEFAULT…</source>
        <translation>ALLE AUF VORGABE…</translation>
    </message>
    <message>
        <source>Route the defaults of all destinations, after a question</source>
        <translation>Alle Ziele auf ihre Vorgaben schalten, nach einer Rückfrage</translation>
    </message>
    <message>
        <source>LOCK</source>
        <translation>SPERREN</translation>
    </message>
    <message>
        <source>Keep the selected destination from being routed in this window; other panels can still route</source>
        <translation>Das gewählte Ziel in diesem Fenster sperren; andere Bedienfelder können es weiter schalten</translation>
    </message>
    <message>
        <source>EXCHANGE…</source>
        <translation>TAUSCHEN…</translation>
    </message>
    <message>
        <source>Exchange the sources of the selected destination and the one that is chosen next</source>
        <translation>Die Quellen des gewählten und des danach gewählten Ziels tauschen</translation>
    </message>
    <message>
        <source>With Preset, choose a source first</source>
        <translation>Wählen Sie zuerst mit Vorwahl eine Quelle</translation>
    </message>
    <message>
        <source>The destination has no default</source>
        <translation>Das Ziel hat keine Vorgabe</translation>
    </message>
    <message>
        <source>There is no destination with a default that is not locked</source>
        <translation>Kein Ziel mit Vorgabe ist ungesperrt</translation>
    </message>
    <message>
        <source>PREVIOUS: %1</source>
        <translation>ZURÜCK: %1</translation>
    </message>
    <message>
        <source>It is not known what was there before</source>
        <translation>Was vorher dort war, ist nicht bekannt</translation>
    </message>
    <message>
        <source>Route what the destination had before: %1</source>
        <translation>Schalten, was das Ziel vorher hatte: %1</translation>
    </message>
    <message numerus="yes">
        <source>Route %n destinations to their defaults? Those that are locked stay as they are.</source>
        <translation>
            <numerusform>%n Ziel auf seine Vorgabe schalten? Gesperrte Ziele bleiben, wie sie sind.</numerusform>
            <numerusform>%n Ziele auf ihre Vorgaben schalten? Gesperrte Ziele bleiben, wie sie sind.</numerusform>
        </translation>
    </message>
    <message>
        <source>All to default</source>
        <translation>Alle auf Vorgabe</translation>
    </message>
    <message>
        <source>Type a number or a name</source>
        <translation>Nummer oder Name eingeben</translation>
    </message>
    <message numerus="yes">
        <source>%n match: type more, or choose by the arrow keys.</source>
        <translation>
            <numerusform>%n passt: mehr eingeben oder mit den Pfeiltasten wählen.</numerusform>
            <numerusform>%n passen: mehr eingeben oder mit den Pfeiltasten wählen.</numerusform>
        </translation>
    </message>
    <message>
        <source>Find a destination</source>
        <translation>Ein Ziel suchen</translation>
    </message>
    <message>
        <source>Destinations</source>
        <translation>Ziele</translation>
    </message>
    <message>
        <source>There is no destination %1.</source>
        <translation>Es gibt kein Ziel %1.</translation>
    </message>
    <message>
        <source>No destination contains &quot;%1&quot;.</source>
        <translation>Kein Ziel enthält „%1“.</translation>
    </message>
    <message>
        <source>Find a source</source>
        <translation>Eine Quelle suchen</translation>
    </message>
    <message>
        <source>Sources</source>
        <translation>Quellen</translation>
    </message>
    <message>
        <source>There is no source %1.</source>
        <translation>Es gibt keine Quelle %1.</translation>
    </message>
    <message>
        <source>No source contains &quot;%1&quot;.</source>
        <translation>Keine Quelle enthält „%1“.</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>fehlgeschlagen</translation>
    </message>
    <message>
        <source>preset</source>
        <translation>Vorwahl</translation>
    </message>
    <message>
        <source>Choose the destination to exchange with %1</source>
        <translation>Wählen Sie das Ziel, das mit %1 tauscht</translation>
    </message>
    <message>
        <source>Select a destination to see its sources</source>
        <translation>Wählen Sie ein Ziel, um seine Quellen zu sehen</translation>
    </message>
    <message>
        <source>Sources for %1</source>
        <translation>Quellen für %1</translation>
    </message>
    <message>
        <source>%1 is locked in this window; other panels can still route.</source>
        <translation>%1 ist in diesem Fenster gesperrt; andere Bedienfelder können weiter schalten.</translation>
    </message>
    <message>
        <source>%1 is no longer locked.</source>
        <translation>%1 ist nicht mehr gesperrt.</translation>
    </message>
    <message>
        <source>Did not route %1: it is locked in this window; other panels can still route.</source>
        <translation>%1 wurde nicht geschaltet: in diesem Fenster gesperrt; andere Bedienfelder können weiter schalten.</translation>
    </message>
    <message>
        <source>Did not exchange %1 and %2: %3 is locked in this window.</source>
        <translation>%1 und %2 wurden nicht getauscht: %3 ist in diesem Fenster gesperrt.</translation>
    </message>
    <message>
        <source>Did not exchange %1 and %2: it is not known what they have, or the other cannot have it.</source>
        <translation>%1 und %2 wurden nicht getauscht: Es ist nicht bekannt, was sie haben, oder das andere Ziel kann es nicht haben.</translation>
    </message>
    <message>
        <source>Half an exchange: %1 has the source of %2, which did not follow. %3</source>
        <translation>Nur halb getauscht: %1 hat die Quelle von %2, das nicht gefolgt ist. %3</translation>
    </message>
    <message>
        <source>On no destination, as far as is known</source>
        <translation>Auf keinem Ziel, soweit bekannt</translation>
    </message>
    <message numerus="yes">
        <source>and %n more</source>
        <translation>
            <numerusform>und %n weiteres</numerusform>
            <numerusform>und %n weitere</numerusform>
        </translation>
    </message>
    <message>
        <source>On %1</source>
        <translation>Auf %1</translation>
    </message>
    <message>
        <source>on the selected destination</source>
        <translation>auf dem gewählten Ziel</translation>
    </message>
    <message>
        <source>on another destination</source>
        <translation>auf einem anderen Ziel</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Destination</source>
        <translation>Ziel</translation>
    </message>
    <message>
        <source>From</source>
        <translation>Von</translation>
    </message>
    <message>
        <source>To</source>
        <translation>Nach</translation>
    </message>
    <message>
        <source>By</source>
        <translation>Durch</translation>
    </message>
    <message>
        <source>by us</source>
        <translation>von hier</translation>
    </message>
    <message>
        <source>Source</source>
        <translation>Quelle</translation>
    </message>
    <message>
        <source>Now</source>
        <translation>Jetzt</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Stand</translation>
    </message>
    <message>
        <source>%1: %2 is called %3 now</source>
        <translation>%1: %2 heißt jetzt %3</translation>
    </message>
    <message>
        <source>%1 cannot have %2</source>
        <translation>%1 kann %2 nicht haben</translation>
    </message>
    <message>
        <source>%1 is to be set twice</source>
        <translation>%1 soll zweimal gesetzt werden</translation>
    </message>
    <message>
        <source>followed</source>
        <translation>gefolgt</translation>
    </message>
    <message>
        <source>is next</source>
        <translation>ist der nächste</translation>
    </message>
    <message>
        <source>called %1 now; the number counts</source>
        <translation>heißt jetzt %1; die Nummer gilt</translation>
    </message>
    <message>
        <source>is there</source>
        <translation>ist da</translation>
    </message>
    <message>
        <source>differs</source>
        <translation>weicht ab</translation>
    </message>
    <message>
        <source>not possible now</source>
        <translation>zurzeit nicht möglich</translation>
    </message>
    <message>
        <source>Salvo: %1 of %2 followed.</source>
        <translation>Salvo: %1 von %2 gefolgt.</translation>
    </message>
    <message>
        <source>Salvo: %1 of %2 followed, not %3.</source>
        <translation>Salvo: %1 von %2 gefolgt, nicht %3.</translation>
    </message>
    <message>
        <source>Salvos (*.salvo);;All files (*)</source>
        <translation>Salvos (*.salvo);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Steps of the salvo</source>
        <translation>Schritte des Salvos</translation>
    </message>
    <message>
        <source>Take Current</source>
        <translation>Istzustand</translation>
    </message>
    <message>
        <source>Make a salvo of all routes that are known now</source>
        <translation>Ein Salvo aus allen jetzt bekannten Routen machen</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Take the selected step out of the salvo</source>
        <translation>Den gewählten Schritt aus dem Salvo nehmen</translation>
    </message>
    <message>
        <source>Load…</source>
        <translation>Laden…</translation>
    </message>
    <message>
        <source>Read a salvo from a file</source>
        <translation>Ein Salvo aus einer Datei lesen</translation>
    </message>
    <message>
        <source>Save…</source>
        <translation>Speichern…</translation>
    </message>
    <message>
        <source>Write the salvo to a file, which &quot;velmora-host apply&quot; takes, too</source>
        <translation>Das Salvo in eine Datei schreiben, die auch „velmora-host apply“ nimmt</translation>
    </message>
    <message>
        <source>FIRE</source>
        <translation>AUSLÖSEN</translation>
    </message>
    <message>
        <source>Set all steps in this order, and read each back</source>
        <translation>Alle Schritte in dieser Reihenfolge setzen und zurücklesen</translation>
    </message>
    <message>
        <source>The current routes are taken.</source>
        <translation>Die aktuellen Routen sind übernommen.</translation>
    </message>
    <message numerus="yes">
        <source>The current routes are taken, but for %n that could not be read.</source>
        <translation>
            <numerusform>Die aktuellen Routen sind übernommen, bis auf %n, die nicht zu lesen war.</numerusform>
            <numerusform>Die aktuellen Routen sind übernommen, bis auf %n, die nicht zu lesen waren.</numerusform>
        </translation>
    </message>
    <message>
        <source>The salvo was not fired: %1. Remove takes a step out.</source>
        <translation>Das Salvo wurde nicht ausgelöst: %1. Entfernen nimmt einen Schritt heraus.</translation>
    </message>
    <message>
        <source>Fire salvo</source>
        <translation>Salvo auslösen</translation>
    </message>
    <message>
        <source>The salvo calls sources otherwise than they are called now. Fire it all the same?</source>
        <translation>Das Salvo nennt Quellen anders, als sie jetzt heißen. Trotzdem auslösen?</translation>
    </message>
    <message>
        <source>The numbers count.</source>
        <translation>Die Nummern gelten.</translation>
    </message>
    <message>
        <source>The salvo %1 is loaded.</source>
        <translation>Das Salvo %1 ist geladen.</translation>
    </message>
    <message>
        <source>The salvo %1 was not loaded: %2.</source>
        <translation>Das Salvo %1 wurde nicht geladen: %2.</translation>
    </message>
    <message>
        <source>The salvo is saved in %1.</source>
        <translation>Das Salvo ist in %1 gespeichert.</translation>
    </message>
    <message>
        <source>The salvo was not saved in %1: %2.</source>
        <translation>Das Salvo wurde nicht in %1 gespeichert: %2.</translation>
    </message>
    <message>
        <source>Load Salvo</source>
        <translation>Salvo laden</translation>
    </message>
    <message>
        <source>Save Salvo</source>
        <translation>Salvo speichern</translation>
    </message>
    <message>
        <source>Untitled.salvo</source>
        <translation>Unbenannt.salvo</translation>
    </message>
    <message>
        <source>No salvo. Take the current routes, or load a salvo from a file.</source>
        <translation>Kein Salvo. Übernehmen Sie den Istzustand oder laden Sie ein Salvo aus einer Datei.</translation>
    </message>
    <message>
        <source>Firing…</source>
        <translation>Wird ausgelöst…</translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n steps differ from the values that were read last.</source>
        <translation>
            <numerusform>Von den zuletzt gelesenen Werten verschieden: %1 von %n Schritt.</numerusform>
            <numerusform>Von den zuletzt gelesenen Werten verschieden: %1 von %n Schritten.</numerusform>
        </translation>
    </message>
    <message>
        <source>The plugin&apos;s settings have changed. Save them?</source>
        <translation>Die Einstellungen des Plugins sind geändert. Speichern?</translation>
    </message>
    <message>
        <source>Changes that are not saved are lost.</source>
        <translation>Nicht gespeicherte Änderungen gehen verloren.</translation>
    </message>
    <message>
        <source>Somebody else has changed the settings file. Overwrite it?</source>
        <translation>Jemand anders hat die Einstellungsdatei geändert. Überschreiben?</translation>
    </message>
    <message>
        <source>The settings file was deleted. Write it anew?</source>
        <translation>Die Einstellungsdatei wurde gelöscht. Neu schreiben?</translation>
    </message>
    <message>
        <source>Load Settings</source>
        <translation>Einstellungen laden</translation>
    </message>
    <message>
        <source>Property lists (*.plist);;All files (*)</source>
        <translation>Property-Listen (*.plist);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Save Settings</source>
        <translation>Einstellungen speichern</translation>
    </message>
    <message>
        <source>Save History</source>
        <translation>Verlauf speichern</translation>
    </message>
    <message>
        <source>Comma-separated values (*.csv);;All files (*)</source>
        <translation>Durch Komma getrennte Werte (*.csv);;Alle Dateien (*)</translation>
    </message>
    <message numerus="yes">
        <source>The plugin connects anew and then routes all %n destinations to their defaults, over the operator&apos;s routes.</source>
        <translation>
            <numerusform>Das Plugin verbindet sich neu und schaltet dann %n Ziel auf seine Vorgabe, über die Route des Bedieners hinweg.</numerusform>
            <numerusform>Das Plugin verbindet sich neu und schaltet dann alle %n Ziele auf ihre Vorgaben, über die Routen des Bedieners hinweg.</numerusform>
        </translation>
    </message>
    <message>
        <source>The plugin connects anew, and then %1.</source>
        <translation>Das Plugin verbindet sich neu. Danach %1.</translation>
    </message>
    <message>
        <source>Start the plugin with defaults?</source>
        <translation>Das Plugin mit Vorgaben starten?</translation>
    </message>
    <message>
        <source>The plugin connects anew; until then nothing can be routed from here. Routes stay as they are.</source>
        <translation>Das Plugin verbindet sich neu; bis dahin kann von hier nichts geschaltet werden. Die Routen bleiben, wie sie sind.</translation>
    </message>
    <message>
        <source>Restart the plugin without defaults?</source>
        <translation>Das Plugin ohne Vorgaben neu starten?</translation>
    </message>
    <message>
        <source>The file could not be used.</source>
        <translation>Die Datei ist nicht zu gebrauchen.</translation>
    </message>
    <message>
        <source>Please check the settings: %1</source>
        <translation>Bitte prüfen Sie die Einstellungen: %1</translation>
    </message>
    <message>
        <source>No switch server has been found.</source>
        <translation>Es wurde kein Kreuzschienen-Server gefunden.</translation>
    </message>
    <message>
        <source>Found: %1.</source>
        <translation>Gefunden: %1.</translation>
    </message>
    <message numerus="yes">
        <source>Found: %1 and %n more.</source>
        <translation>
            <numerusform>Gefunden: %1 und %n weiterer.</numerusform>
            <numerusform>Gefunden: %1 und %n weitere.</numerusform>
        </translation>
    </message>
    <message>
        <source>no outputs are configured, so there are no attributes</source>
        <translation>keine Ausgänge konfiguriert, also keine Attribute</translation>
    </message>
    <message numerus="yes">
        <source>%n attributes</source>
        <translation>
            <numerusform>%n Attribut</numerusform>
            <numerusform>%n Attribute</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n inputs</source>
        <translation>
            <numerusform>%n Eingang</numerusform>
            <numerusform>%n Eingänge</numerusform>
        </translation>
    </message>
    <message>
        <source>The plugin connects again when the server announces itself anew; Reconnect tries at once.</source>
        <translation>Das Plugin verbindet sich wieder, wenn der Server sich neu ankündigt; „Neu verbinden“ versucht es sofort.</translation>
    </message>
    <message>
        <source>Reconnect hands the plugin its settings once more.</source>
        <translation>„Neu verbinden“ übergibt dem Plugin noch einmal seine Einstellungen.</translation>
    </message>
    <message>
        <source>The connection to %1 failed at %2</source>
        <translation>Die Verbindung mit %1 scheiterte um %2</translation>
    </message>
    <message>
        <source>The connection to %1 ended at %2</source>
        <translation>Die Verbindung mit %1 endete um %2</translation>
    </message>
    <message>
        <source>the device</source>
        <translation>dem Gerät</translation>
    </message>
    <message>
        <source>NO DEVICE</source>
        <translation>KEIN GERÄT</translation>
    </message>
    <message>
        <source>The plugin has no device to connect to.</source>
        <translation>Das Plugin hat kein Gerät, mit dem es sich verbinden könnte.</translation>
    </message>
    <message>
        <source>NO SERVER</source>
        <translation>KEIN SERVER</translation>
    </message>
    <message>
        <source>The settings name no switch server.</source>
        <translation>Die Einstellungen nennen keinen Kreuzschienen-Server.</translation>
    </message>
    <message>
        <source>SEARCHING</source>
        <translation>SUCHT</translation>
    </message>
    <message>
        <source>Looking for the switch server %1.</source>
        <translation>Sucht nach dem Kreuzschienen-Server %1.</translation>
    </message>
    <message>
        <source>Looking for %1.</source>
        <translation>Sucht nach %1.</translation>
    </message>
    <message>
        <source>CONNECTING</source>
        <translation>VERBINDET</translation>
    </message>
    <message>
        <source>Connecting to %1. The window may stand still while the plugin reads its labels.</source>
        <translation>Verbindet sich mit %1. Das Fenster steht vielleicht still, während das Plugin die Namen liest.</translation>
    </message>
    <message>
        <source>CONNECTED</source>
        <translation>VERBUNDEN</translation>
    </message>
    <message>
        <source>Connected to %1: %2.</source>
        <translation>Verbunden mit %1: %2.</translation>
    </message>
    <message>
        <source>LOST</source>
        <translation>GETRENNT</translation>
    </message>
    <message>
        <source>STOPPED</source>
        <translation>GESTOPPT</translation>
    </message>
    <message>
        <source>The plugin is stopped.</source>
        <translation>Das Plugin ist gestoppt.</translation>
    </message>
    <message>
        <source>NOT KNOWN</source>
        <translation>UNBEKANNT</translation>
    </message>
    <message>
        <source>The plugin is started: %1. It does not tell of its connection.</source>
        <translation>Das Plugin ist gestartet: %1. Von seiner Verbindung sagt es nichts.</translation>
    </message>
    <message>
        <source>Reading the labels took %1 last time.</source>
        <translation>Zuletzt dauerte das Lesen der Namen %1.</translation>
    </message>
    <message numerus="yes">
        <source>The window stood still %n times, for %1 in all, while the plugin read its labels.</source>
        <translation>
            <numerusform>Das Fenster stand %n Mal still, insgesamt %1, während das Plugin die Namen las.</numerusform>
            <numerusform>Das Fenster stand %n Mal still, insgesamt %1, während das Plugin die Namen las.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The window stood still %n times, for %1 in all.</source>
        <translation>
            <numerusform>Das Fenster stand %n Mal still, insgesamt %1.</numerusform>
            <numerusform>Das Fenster stand %n Mal still, insgesamt %1.</numerusform>
        </translation>
    </message>
    <message>
        <source>The window stood still for %1 while the plugin read its labels.</source>
        <translation>Das Fenster stand %1 still, während das Plugin die Namen las.</translation>
    </message>
    <message>
        <source>The window stood still for %1.</source>
        <translation>Das Fenster stand %1 still.</translation>
    </message>
    <message>
        <source>Clicks and keys of that time were discarded.</source>
        <translation>Klicks und Tasten aus dieser Zeit wurden verworfen.</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>L&amp;oad Settings…</source>
        <translation>Einstellungen &amp;laden…</translation>
    </message>
    <message>
        <source>&amp;Save Settings</source>
        <translation>Einstellungen &amp;speichern</translation>
    </message>
    <message>
        <source>Save Settings &amp;As…</source>
        <translation>Einstellungen speichern &amp;unter…</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>Pl&amp;ugin</source>
        <translation>Pl&amp;ugin</translation>
    </message>
    <message>
        <source>Star&amp;t</source>
        <translation>&amp;Starten</translation>
    </message>
    <message>
        <source>Start with &amp;Defaults</source>
        <translation>Mit &amp;Vorgaben starten</translation>
    </message>
    <message>
        <source>Routes are left as they are</source>
        <translation>Die Routen bleiben, wie sie sind</translation>
    </message>
    <message>
        <source>Sto&amp;p</source>
        <translation>Sto&amp;ppen</translation>
    </message>
    <message>
        <source>Reco&amp;nnect</source>
        <translation>&amp;Neu verbinden</translation>
    </message>
    <message>
        <source>Re&amp;fresh Values</source>
        <translation>&amp;Werte auffrischen</translation>
    </message>
    <message>
        <source>Refresh &amp;Every 2 s</source>
        <translation>Alle 2 s &amp;auffrischen</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>&amp;Settings</source>
        <translation>&amp;Einstellungen</translation>
    </message>
    <message>
        <source>&amp;History and Log</source>
        <translation>&amp;Verlauf und Protokoll</translation>
    </message>
    <message>
        <source>Waiting for the device…</source>
        <translation>Wartet auf das Gerät…</translation>
    </message>
    <message>
        <source>The plugin did not start; its log says why.</source>
        <translation>Das Plugin ist nicht gestartet; sein Protokoll sagt, warum.</translation>
    </message>
    <message>
        <source>Started with defaults: %1.</source>
        <translation>Mit Vorgaben gestartet: Jetzt %1.</translation>
    </message>
    <message>
        <source>Stopped.</source>
        <translation>Gestoppt.</translation>
    </message>
    <message>
        <source>Handing the plugin its settings…</source>
        <translation>Übergibt dem Plugin seine Einstellungen…</translation>
    </message>
    <message>
        <source>The settings were handed to the plugin.</source>
        <translation>Die Einstellungen wurden dem Plugin übergeben.</translation>
    </message>
    <message>
        <source>There is no connection.</source>
        <translation>Es besteht keine Verbindung.</translation>
    </message>
    <message>
        <source>values read %1</source>
        <translation>Werte von %1</translation>
    </message>
    <message>
        <source>values last read %1</source>
        <translation>letzte Werte von %1</translation>
    </message>
    <message numerus="yes">
        <source>Change notice %1 at %2: %n attributes</source>
        <translation>
            <numerusform>Änderungsmeldung %1 um %2: %n Attribut</numerusform>
            <numerusform>Änderungsmeldung %1 um %2: %n Attribute</numerusform>
        </translation>
    </message>
    <message>
        <source>Did not set %1 to %2: that is no longer one of the possible values.</source>
        <translation>%1 wurde nicht auf %2 gesetzt: Das ist keiner der möglichen Werte mehr.</translation>
    </message>
    <message>
        <source>Did not set %1 to %2: there is no connection.</source>
        <translation>%1 wurde nicht auf %2 gesetzt: Es besteht keine Verbindung.</translation>
    </message>
    <message>
        <source>The plugin refused to set %1 to %2: %3</source>
        <translation>Das Plugin lehnte ab, %1 auf %2 zu setzen: %3</translation>
    </message>
    <message>
        <source>Setting %1 to %2 was handed on, but cannot be read back%3.</source>
        <translation>%1 auf %2 zu setzen wurde weitergegeben, lässt sich aber nicht zurücklesen%3.</translation>
    </message>
    <message>
        <source>Setting %1 to %2 was handed on, but the device has %3%4.</source>
        <translation>%1 auf %2 zu setzen wurde weitergegeben, aber das Gerät hat %3%4.</translation>
    </message>
    <message>
        <source>Set %1 to %2.</source>
        <translation>%1 auf %2 gesetzt.</translation>
    </message>
    <message numerus="yes">
        <source>The device answers slowly: %n of the current values were not read. Refresh Values reads them.</source>
        <translation>
            <numerusform>Das Gerät antwortet langsam: %n der aktuellen Werte wurde nicht gelesen. „Werte auffrischen“ liest ihn.</numerusform>
            <numerusform>Das Gerät antwortet langsam: %n der aktuellen Werte wurden nicht gelesen. „Werte auffrischen“ liest sie.</numerusform>
        </translation>
    </message>
    <message>
        <source>every 2 s</source>
        <translation>alle 2 s</translation>
    </message>
    <message>
        <source>Ask the device for what can be seen, while nothing else goes on</source>
        <translation>Das Gerät nach allem fragen, was zu sehen ist, solange nichts anderes geschieht</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Auffrischen</translation>
    </message>
    <message>
        <source>Ask the device for all current values (F5)</source>
        <translation>Das Gerät nach allen aktuellen Werten fragen (F5)</translation>
    </message>
    <message>
        <source>Reconnect</source>
        <translation>Neu verbinden</translation>
    </message>
    <message>
        <source>Hand the plugin its settings once more, so that it connects anew (Ctrl+R)</source>
        <translation>Dem Plugin seine Einstellungen noch einmal übergeben, damit es sich neu verbindet (Strg+R)</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>The plugin&apos;s settings (F4)</source>
        <translation>Die Einstellungen des Plugins (F4)</translation>
    </message>
    <message>
        <source>Views</source>
        <translation>Ansichten</translation>
    </message>
    <message>
        <source>&amp;Panel</source>
        <translation>&amp;Bedienfeld</translation>
    </message>
    <message>
        <source>&amp;Grid</source>
        <translation>&amp;Koppelfeld</translation>
    </message>
    <message>
        <source>&amp;Salvos</source>
        <translation>&amp;Salvos</translation>
    </message>
    <message>
        <source>As the &amp;host sees it</source>
        <translation>Wie der &amp;Host es sieht</translation>
    </message>
    <message>
        <source>Plugin settings</source>
        <translation>Einstellungen des Plugins</translation>
    </message>
    <message>
        <source>The plugin has no settings view.</source>
        <translation>Das Plugin hat keine Ansicht für seine Einstellungen.</translation>
    </message>
    <message>
        <source>No change notice yet</source>
        <translation>Noch keine Änderungsmeldung</translation>
    </message>
    <message>
        <source>1. Pick a switch server in the settings (F4), also where one is shown there already.</source>
        <translation>1. Wählen Sie in den Einstellungen (F4) einen Kreuzschienen-Server, auch wenn dort schon einer steht.</translation>
    </message>
    <message>
        <source>2. Add the outputs that you want to route.</source>
        <translation>2. Fügen Sie die Ausgänge hinzu, die Sie schalten wollen.</translation>
    </message>
    <message>
        <source>Add the outputs that you want to route in the settings (F4).</source>
        <translation>Fügen Sie in den Einstellungen (F4) die Ausgänge hinzu, die Sie schalten wollen.</translation>
    </message>
    <message numerus="yes">
        <source>DEFAULTS ARMED: each connection, also after a mere restart of the server, routes all %n destinations to their defaults. The settings are locked meanwhile.</source>
        <translation>
            <numerusform>VORGABEN SCHARF: Jede Verbindung, auch nach einem bloßen Neustart des Servers, schaltet %n Ziel auf seine Vorgabe. Die Einstellungen sind solange gesperrt.</numerusform>
            <numerusform>VORGABEN SCHARF: Jede Verbindung, auch nach einem bloßen Neustart des Servers, schaltet alle %n Ziele auf ihre Vorgaben. Die Einstellungen sind solange gesperrt.</numerusform>
        </translation>
    </message>
    <message>
        <source>EDITED, NOT APPLIED: %1.</source>
        <translation>GEÄNDERT, NICHT ANGEWANDT: %1.</translation>
    </message>
    <message numerus="yes">
        <source>EDITED, NOT APPLIED: %1 (%n outputs in all).</source>
        <translation>
            <numerusform>GEÄNDERT, NICHT ANGEWANDT: %1 (insgesamt %n Ausgang).</numerusform>
            <numerusform>GEÄNDERT, NICHT ANGEWANDT: %1 (insgesamt %n Ausgänge).</numerusform>
        </translation>
    </message>
    <message>
        <source>Reconnect although the plugin is started with defaults?</source>
        <translation>Neu verbinden, obwohl das Plugin mit Vorgaben gestartet ist?</translation>
    </message>
    <message>
        <source>Untitled settings</source>
        <translation>Unbenannte Einstellungen</translation>
    </message>
    <message>
        <source>Load settings although the plugin is started with defaults?</source>
        <translation>Einstellungen laden, obwohl das Plugin mit Vorgaben gestartet ist?</translation>
    </message>
    <message>
        <source>The settings are saved in %1.</source>
        <translation>Die Einstellungen sind in %1 gespeichert.</translation>
    </message>
    <message>
        <source>The settings were not saved.</source>
        <translation>Die Einstellungen wurden nicht gespeichert.</translation>
    </message>
    <message>
        <source>Type to find</source>
        <translation>Zum Suchen tippen</translation>
    </message>
    <message>
        <source>Find</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Choices</source>
        <translation>Auswahl</translation>
    </message>
    <message>
        <source>There is no %1.</source>
        <translation>Es gibt kein %1.</translation>
    </message>
    <message>
        <source>Nothing here contains &quot;%1&quot;.</source>
        <translation>Nichts hier enthält „%1“.</translation>
    </message>
    <message numerus="yes">
        <source>%n are not known.</source>
        <translation>
            <numerusform>%n ist nicht bekannt.</numerusform>
            <numerusform>%n sind nicht bekannt.</numerusform>
        </translation>
    </message>
</context>
</TS>
