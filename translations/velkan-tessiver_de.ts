<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>AboutPage</name>
    <message>
        <source>SMS Management for Pocket PC</source>
        <translation>SMS-Verwaltung für Pocket PC</translation>
    </message>
    <message>
        <source>Release %1</source>
        <translation>Release %1</translation>
    </message>
    <message>
        <source>Licensed under the GNU General Public License, version 3 or later</source>
        <translation>Lizenziert unter der GNU General Public License, Version 3 oder neuer</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>CaptionDialog</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>ConnectionDialog</name>
    <message>
        <source>Select the active connection</source>
        <translation>Aktive Verbindung auswählen</translation>
    </message>
    <message>
        <source>Connection:</source>
        <translation>Verbindung:</translation>
    </message>
    <message>
        <source>TCP Address
(i.e. localhost:port):</source>
        <translation>TCP-Adresse
(z. B. localhost:port):</translation>
    </message>
</context>
<context>
    <name>ContactListModel</name>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Phone</source>
        <translation>Telefon</translation>
    </message>
</context>
<context>
    <name>ContactPickerDialog</name>
    <message>
        <source>Select a contact</source>
        <translation>Kontakt auswählen</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>EditMenu</name>
    <message>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Ausschneiden</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Einfügen</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
</context>
<context>
    <name>MessageDialog</name>
    <message>
        <source>Connection</source>
        <translation>Verbindung</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Name:</source>
        <translation>Name:</translation>
    </message>
    <message>
        <source>Number:</source>
        <translation>Nummer:</translation>
    </message>
    <message>
        <source>Flash SMS</source>
        <translation>Flash-SMS</translation>
    </message>
    <message>
        <source>Reply</source>
        <translation>Antworten</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>Weiterleiten</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>Senden</translation>
    </message>
    <message>
        <source>Outbox</source>
        <translation>Postausgang</translation>
    </message>
    <message>
        <source>Draft</source>
        <translation>Entwurf</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>MessageListView</name>
    <message>
        <source>Send &amp;&amp; Get</source>
        <translation>Senden &amp;&amp; Abrufen</translation>
    </message>
    <message>
        <source>Get</source>
        <translation>Abrufen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Reply</source>
        <translation>Antworten</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>Weiterleiten</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Über</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>Verbindung</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
</context>
<context>
    <name>PreferencesDialog</name>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Ausschneiden</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Einfügen</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
    <message>
        <source>Phone</source>
        <translation>Telefon</translation>
    </message>
    <message>
        <source>Delete Messages after Retrieve</source>
        <translation>Nachrichten nach dem Abrufen löschen</translation>
    </message>
    <message>
        <source>Message Options</source>
        <translation>Nachrichtenoptionen</translation>
    </message>
    <message>
        <source>Custom Service Center:</source>
        <translation>Eigene SMS-Zentrale:</translation>
    </message>
    <message>
        <source>Request Status</source>
        <translation>Statusbericht anfordern</translation>
    </message>
    <message>
        <source>Flash SMS</source>
        <translation>Flash-SMS</translation>
    </message>
</context>
<context>
    <name>ProgressDialog</name>
    <message>
        <source>Checking Messages...</source>
        <translation>Nachrichten werden abgerufen...</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>StoreFailure</name>
    <message>
        <source>it cannot be opened</source>
        <translation>er lässt sich nicht öffnen</translation>
    </message>
    <message>
        <source>the file is damaged</source>
        <translation>die Datei ist beschädigt</translation>
    </message>
    <message>
        <source>the file could not be read or written (error %1)</source>
        <translation>die Datei konnte nicht gelesen oder geschrieben werden (Fehler %1)</translation>
    </message>
</context>
<context>
    <name>strings</name>
    <message>
        <source>Velkan Tessiver</source>
        <comment>2</comment>
        <extracomment>product name: frame window title, progress dialog title, message box captions</extracomment>
        <translation>Velkan Tessiver</translation>
    </message>
    <message>
        <source>Send SMS...</source>
        <comment>1111</comment>
        <extracomment>Contacts add-in menu entry on a contact&apos;s card</extracomment>
        <translation>SMS senden...</translation>
    </message>
    <message>
        <source>Inbox</source>
        <comment>2051</comment>
        <extracomment>message list folder combo; folder 1</extracomment>
        <translation>Posteingang</translation>
    </message>
    <message>
        <source>Outbox</source>
        <comment>2052</comment>
        <extracomment>message list folder combo; folder 2</extracomment>
        <translation>Postausgang</translation>
    </message>
    <message>
        <source>Draft</source>
        <comment>2053</comment>
        <extracomment>message list folder combo; folder 3</extracomment>
        <translation>Entwürfe</translation>
    </message>
    <message>
        <source>Sent</source>
        <comment>2054</comment>
        <extracomment>message list folder combo; folder 4</extracomment>
        <translation>Gesendet</translation>
    </message>
    <message>
        <source>Log</source>
        <comment>2099</comment>
        <extracomment>message list folder combo; the Inbox-and-Sent view (filter 255)</extracomment>
        <translation>Protokoll</translation>
    </message>
    <message>
        <source>(none)</source>
        <comment>2100</comment>
        <extracomment>message list row: sender when both name and number are empty</extracomment>
        <translation>(keiner)</translation>
    </message>
    <message>
        <source>Message(s) will be permanently deleted. Continue?</source>
        <comment>2112</comment>
        <extracomment>message list and read dialog: delete confirmation</extracomment>
        <translation>Die Nachricht(en) werden endgültig gelöscht. Fortfahren?</translation>
    </message>
    <message>
        <source>Sent</source>
        <comment>3001</comment>
        <extracomment>read dialog date line label for messages outside the Inbox</extracomment>
        <translation>Gesendet</translation>
    </message>
    <message>
        <source>Received</source>
        <comment>3002</comment>
        <extracomment>read dialog date line label for Inbox messages</extracomment>
        <translation>Empfangen</translation>
    </message>
    <message>
        <source>Received (%d)</source>
        <comment>3003</comment>
        <extracomment>progress dialog status: messages received so far</extracomment>
        <translation>Empfangen (%d)</translation>
    </message>
    <message>
        <source>Sending Message %d/%d</source>
        <comment>3102</comment>
        <extracomment>progress dialog status: message being sent and the count to send</extracomment>
        <translation>Nachricht %d/%d wird gesendet</translation>
    </message>
    <message>
        <source>Receiving Inbox Messages...</source>
        <comment>3103</comment>
        <extracomment>progress dialog status</extracomment>
        <translation>Nachrichten werden empfangen...</translation>
    </message>
    <message>
        <source>Connecting Phone...</source>
        <comment>3104</comment>
        <extracomment>progress dialog status</extracomment>
        <translation>Verbindung zum Telefon wird hergestellt...</translation>
    </message>
    <message>
        <source>Send SMS</source>
        <comment>3105</comment>
        <extracomment>progress dialog heading, send-only transfer</extracomment>
        <translation>SMS senden</translation>
    </message>
    <message>
        <source>Send &amp;&amp; Get SMS</source>
        <comment>3106</comment>
        <extracomment>progress dialog heading, full transfer</extracomment>
        <translation>SMS senden &amp;&amp; abrufen</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <comment>3108</comment>
        <extracomment>progress dialog status after Cancel</extracomment>
        <translation>Wird abgebrochen...</translation>
    </message>
    <message>
        <source>Success</source>
        <comment>3109</comment>
        <extracomment>progress dialog summary, first line</extracomment>
        <translation>Erfolgreich</translation>
    </message>
    <message>
        <source>Operation Failed (%d)</source>
        <comment>3110</comment>
        <extracomment>transfer error box for codes without their own text</extracomment>
        <translation>Vorgang fehlgeschlagen (%d)</translation>
    </message>
    <message>
        <source>No new messages</source>
        <comment>3111</comment>
        <extracomment>progress dialog summary</extracomment>
        <translation>Keine neuen Nachrichten</translation>
    </message>
    <message>
        <source>%d new message(s)</source>
        <comment>3112</comment>
        <extracomment>progress dialog summary</extracomment>
        <translation>%d neue Nachricht(en)</translation>
    </message>
    <message>
        <source>%d message(s) sent</source>
        <comment>3113</comment>
        <extracomment>progress dialog summary</extracomment>
        <translation>%d Nachricht(en) gesendet</translation>
    </message>
    <message>
        <source>Connected</source>
        <comment>3114</comment>
        <extracomment>progress dialog status</extracomment>
        <translation>Verbunden</translation>
    </message>
    <message>
        <source>Initializing...</source>
        <comment>3115</comment>
        <extracomment>progress dialog status</extracomment>
        <translation>Wird initialisiert...</translation>
    </message>
    <message>
        <source>A timeout occurred during connection/operation.
Operation failed.</source>
        <comment>3150</comment>
        <extracomment>transfer error box, code 10</extracomment>
        <translation>Zeitüberschreitung bei Verbindung oder Vorgang.
Vorgang fehlgeschlagen.</translation>
    </message>
    <message>
        <source>Connection failed.
Check your Connection settings.</source>
        <comment>3151</comment>
        <extracomment>transfer error box, code 12</extracomment>
        <translation>Verbindung fehlgeschlagen.
Prüfen Sie die Verbindungseinstellungen.</translation>
    </message>
    <message>
        <source>Operation failed.
Error related to network or mobile (CMS).</source>
        <comment>3152</comment>
        <extracomment>transfer error box, code 15</extracomment>
        <translation>Vorgang fehlgeschlagen.
Fehler des Netzes oder des Mobiltelefons (CMS).</translation>
    </message>
    <message>
        <source>Operation failed.
Error related to network or mobile (CME).</source>
        <comment>3153</comment>
        <extracomment>transfer error box, code 16</extracomment>
        <translation>Vorgang fehlgeschlagen.
Fehler des Netzes oder des Mobiltelefons (CME).</translation>
    </message>
    <message>
        <source>Error during AT interpretation.
Operation failed.</source>
        <comment>3154</comment>
        <extracomment>transfer error box, code 14</extracomment>
        <translation>Fehler bei der Auswertung der AT-Befehle.
Vorgang fehlgeschlagen.</translation>
    </message>
    <message>
        <source>Operation failed.
Invalid Parameter.</source>
        <comment>3155</comment>
        <extracomment>transfer error box, code 4</extracomment>
        <translation>Vorgang fehlgeschlagen.
Ungültiger Parameter.</translation>
    </message>
    <message>
        <source>The message store cannot be used.
%s</source>
        <comment>3156</comment>
        <extracomment>transfer error box, code 20, with the reason</extracomment>
        <translation>Der Nachrichtenspeicher kann nicht verwendet werden.
%s</translation>
    </message>
    <message>
        <source>Another transfer is using the message store.
Try again when it has ended.</source>
        <comment>3157</comment>
        <extracomment>transfer error box, code 21</extracomment>
        <translation>Eine andere Übertragung verwendet den Nachrichtenspeicher.
Versuchen Sie es erneut, wenn sie beendet ist.</translation>
    </message>
    <message>
        <source>%d message(s) could not be stored: %s</source>
        <comment>3158</comment>
        <extracomment>transfer outcome: received messages left on the phone, with the reason</extracomment>
        <translation>%d Nachricht(en) konnten nicht gespeichert werden: %s</translation>
    </message>
    <message>
        <source>%d message(s) in the SIM could not be read</source>
        <comment>3159</comment>
        <extracomment>transfer outcome: listing of &quot;SM&quot; incomplete</extracomment>
        <translation>%d Nachricht(en) auf der SIM-Karte konnten nicht gelesen werden</translation>
    </message>
    <message>
        <source>%d message(s) in the phone memory could not be read</source>
        <comment>3160</comment>
        <extracomment>transfer outcome: listing of &quot;ME&quot; incomplete</extracomment>
        <translation>%d Nachricht(en) im Telefonspeicher konnten nicht gelesen werden</translation>
    </message>
    <message>
        <source>Not sent, it may have been sent already: %s</source>
        <comment>3161</comment>
        <extracomment>transfer outcome: Outbox message with the may-have-been-sent mark, with its recipient</extracomment>
        <translation>Nicht gesendet, wurde möglicherweise schon gesendet: %s</translation>
    </message>
    <message>
        <source>Not sent, the number cannot be used: %s</source>
        <comment>3162</comment>
        <extracomment>transfer outcome: Outbox message the encoder refused, with its recipient</extracomment>
        <translation>Nicht gesendet, die Nummer ist nicht verwendbar: %s</translation>
    </message>
    <message>
        <source>The message to %s was sent, but it could not be moved to Sent: %s</source>
        <comment>3163</comment>
        <extracomment>transfer error detail, with the recipient and the reason</extracomment>
        <translation>Die Nachricht an %s wurde gesendet, konnte aber nicht nach „Gesendet“ verschoben werden: %s</translation>
    </message>
    <message>
        <source>The message store cannot be used, so no messages can be shown.
%s</source>
        <comment>3170</comment>
        <extracomment>box at start: the store could not be opened; the reason follows</extracomment>
        <translation>Der Nachrichtenspeicher kann nicht verwendet werden, daher können keine Nachrichten angezeigt werden.
%s</translation>
    </message>
    <message>
        <source>The message store %s cannot be used: %s.</source>
        <comment>3171</comment>
        <extracomment>store failure reason: the file and what went wrong</extracomment>
        <translation>Der Nachrichtenspeicher %s kann nicht verwendet werden: %s.</translation>
    </message>
    <message>
        <source>The message could not be stored in %s.
%s</source>
        <comment>3172</comment>
        <extracomment>compose: a save failed; the folder and the reason follow</extracomment>
        <translation>Die Nachricht konnte nicht in %s gespeichert werden.
%s</translation>
    </message>
    <message>
        <source>The message was sent but could not be stored in Sent.
%s</source>
        <comment>3173</comment>
        <extracomment>compose and Send again: sent, but the Sent record failed</extracomment>
        <translation>Die Nachricht wurde gesendet, konnte aber nicht in „Gesendet“ gespeichert werden.
%s</translation>
    </message>
    <message>
        <source>The message was not sent, because it could not be recorded in Sent.
%s</source>
        <comment>3174</comment>
        <extracomment>compose and Send again: the store refused before sending</extracomment>
        <translation>Die Nachricht wurde nicht gesendet, weil sie nicht in „Gesendet“ vermerkt werden konnte.
%s</translation>
    </message>
    <message>
        <source>Retry</source>
        <comment>3175</comment>
        <extracomment>message list: opens the store again; compose: stores a sent message again</extracomment>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>may have been sent</source>
        <comment>3176</comment>
        <extracomment>message list row and compose: an Outbox message whose sending was never confirmed</extracomment>
        <translation>möglicherweise gesendet</translation>
    </message>
    <message>
        <source>cannot be sent</source>
        <comment>3177</comment>
        <extracomment>message list row and compose: an Outbox message that cannot be encoded</extracomment>
        <translation>kann nicht gesendet werden</translation>
    </message>
    <message>
        <source>Send again</source>
        <comment>3178</comment>
        <extracomment>message list Sms and context menus, compose: send a message that may have been sent</extracomment>
        <translation>Erneut senden</translation>
    </message>
    <message>
        <source>Discard this message?</source>
        <comment>3179</comment>
        <extracomment>compose: Escape with something typed</extracomment>
        <translation>Diese Nachricht verwerfen?</translation>
    </message>
    <message>
        <source>The service center number has %d digits; it can have at most 20.</source>
        <comment>3180</comment>
        <extracomment>preferences: a service centre that is too long</extracomment>
        <translation>Die Nummer der SMS-Zentrale hat %d Ziffern; erlaubt sind höchstens 20.</translation>
    </message>
    <message>
        <source>Message(s) could not be deleted.
%s</source>
        <comment>3181</comment>
        <extracomment>message list and read dialog: a deletion failed; the reason follows</extracomment>
        <translation>Die Nachricht(en) konnten nicht gelöscht werden.
%s</translation>
    </message>
    <message>
        <source>The message could not be marked as read.
%s</source>
        <comment>3182</comment>
        <extracomment>read dialog: marking a received message read failed</extracomment>
        <translation>Die Nachricht konnte nicht als gelesen markiert werden.
%s</translation>
    </message>
    <message>
        <source>Checking...</source>
        <comment>3300</comment>
        <extracomment>message list: the line above the rows while an automatic check runs</extracomment>
        <translation>Wird geprüft...</translation>
    </message>
    <message>
        <source>%d new messages</source>
        <comment>3301</comment>
        <extracomment>desktop notification: the one that stands for more than three new messages</extracomment>
        <translation>%d neue Nachrichten</translation>
    </message>
    <message>
        <source>Open</source>
        <comment>3302</comment>
        <extracomment>desktop notification: the action that shows the message in the program</extracomment>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>New Messages</source>
        <comment>3303</comment>
        <extracomment>preferences: heading of the automatic check, notification and contact name options</extracomment>
        <translation>Neue Nachrichten</translation>
    </message>
    <message>
        <source>Check for new messages every</source>
        <comment>3304</comment>
        <extracomment>preferences: before the spin box of minutes (0 = off)</extracomment>
        <translation>Neue Nachrichten abrufen alle</translation>
    </message>
    <message>
        <source>minutes</source>
        <comment>3305</comment>
        <extracomment>preferences: after the spin box of minutes</extracomment>
        <translation>Minuten</translation>
    </message>
    <message>
        <source>Send the Outbox when checking</source>
        <comment>3306</comment>
        <extracomment>preferences: the automatic check also sends the Outbox</extracomment>
        <translation>Beim Abrufen auch den Postausgang senden</translation>
    </message>
    <message>
        <source>Notify me of new messages</source>
        <comment>3307</comment>
        <extracomment>preferences: desktop notifications and the unread count in the title</extracomment>
        <translation>Bei neuen Nachrichten benachrichtigen</translation>
    </message>
    <message>
        <source>Show contact names</source>
        <comment>3308</comment>
        <extracomment>preferences: names of contacts for known numbers in the list, read dialog and notifications</extracomment>
        <translation>Kontaktnamen anzeigen</translation>
    </message>
    <message>
        <source>%s (%d)</source>
        <comment>3309</comment>
        <extracomment>main window title with Notify on: the product name and the unread Inbox count</extracomment>
        <translation>%s (%d)</translation>
    </message>
    <message>
        <source>Sms</source>
        <comment>40008</comment>
        <extracomment>message list menu bar: drop-down with Delete, Reply, Forward</extracomment>
        <translation>SMS</translation>
    </message>
    <message>
        <source>Options</source>
        <comment>40010</comment>
        <extracomment>message list menu bar: drop-down with Exit, About, Connection, Preferences</extracomment>
        <translation>Optionen</translation>
    </message>
    <message>
        <source>New</source>
        <comment>40013</comment>
        <extracomment>message list menu bar: new message button</extracomment>
        <translation>Neu</translation>
    </message>
    <message>
        <source>Find</source>
        <comment>3200</comment>
        <extracomment>message list Sms menu: shows the search field above the rows (Ctrl+F)</extracomment>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>All folders</source>
        <comment>3201</comment>
        <extracomment>message list search line: check box, search every folder; export: the messages of every folder</extracomment>
        <translation>Alle Ordner</translation>
    </message>
    <message>
        <source>Words to find</source>
        <comment>3202</comment>
        <extracomment>message list search line: placeholder of the empty field</extracomment>
        <translation>Gesuchte Wörter</translation>
    </message>
    <message>
        <source>Export...</source>
        <comment>3203</comment>
        <extracomment>message list Options menu: writes messages to a file</extracomment>
        <translation>Exportieren...</translation>
    </message>
    <message>
        <source>Import...</source>
        <comment>3204</comment>
        <extracomment>message list Options menu: reads messages from a file</extracomment>
        <translation>Importieren...</translation>
    </message>
    <message>
        <source>Export</source>
        <comment>3205</comment>
        <extracomment>export dialog heading</extracomment>
        <translation>Exportieren</translation>
    </message>
    <message>
        <source>Format:</source>
        <comment>3206</comment>
        <extracomment>export dialog: label of the format list</extracomment>
        <translation>Format:</translation>
    </message>
    <message>
        <source>Messages:</source>
        <comment>3207</comment>
        <extracomment>export dialog: label of the folder list</extracomment>
        <translation>Nachrichten:</translation>
    </message>
    <message>
        <source>%s (the folder shown)</source>
        <comment>3208</comment>
        <extracomment>export dialog folder list: the folder shown now, by name</extracomment>
        <translation>%s (der angezeigte Ordner)</translation>
    </message>
    <message>
        <source>%s message(s) written to %s</source>
        <comment>3209</comment>
        <extracomment>box after an export: the count and the file</extracomment>
        <translation>%s Nachricht(en) in %s geschrieben</translation>
    </message>
    <message>
        <source>Nothing was exported.
%s</source>
        <comment>3210</comment>
        <extracomment>box after a failed export: the reason follows</extracomment>
        <translation>Es wurde nichts exportiert.
%s</translation>
    </message>
    <message>
        <source>Importing %s</source>
        <comment>3211</comment>
        <extracomment>import progress dialog: the file being read</extracomment>
        <translation>%s wird importiert</translation>
    </message>
    <message>
        <source>%s message(s) imported, %s duplicate(s) skipped, %s MMS skipped</source>
        <comment>3212</comment>
        <extracomment>box after an import: the counts</extracomment>
        <translation>%s Nachricht(en) importiert, %s Duplikat(e) übersprungen, %s MMS übersprungen</translation>
    </message>
    <message>
        <source>Nothing was imported.
%s</source>
        <comment>3213</comment>
        <extracomment>box after a failed or cancelled import: the reason follows</extracomment>
        <translation>Es wurde nichts importiert.
%s</translation>
    </message>
    <message>
        <source>%s of them are in the Outbox and will be sent by the next Send &amp; Get.</source>
        <comment>3214</comment>
        <extracomment>box after an import: messages imported into the Outbox</extracomment>
        <translation>%s davon liegen im Postausgang und werden beim nächsten „Senden &amp; Abrufen“ gesendet.</translation>
    </message>
    <message>
        <source>A transfer is running. Import when it has ended.</source>
        <comment>3215</comment>
        <extracomment>box: Import chosen while a transfer holds the store</extracomment>
        <translation>Eine Übertragung läuft. Importieren Sie, wenn sie beendet ist.</translation>
    </message>
    <message>
        <source>The import was cancelled.</source>
        <comment>3216</comment>
        <extracomment>box after Cancel in the import progress dialog</extracomment>
        <translation>Der Import wurde abgebrochen.</translation>
    </message>
    <message>
        <source>Export messages to</source>
        <comment>3217</comment>
        <extracomment>export: title of the file dialog</extracomment>
        <translation>Nachrichten exportieren nach</translation>
    </message>
    <message>
        <source>Import messages from</source>
        <comment>3218</comment>
        <extracomment>import: title of the file dialog</extracomment>
        <translation>Nachrichten importieren aus</translation>
    </message>
    <message>
        <source>Exporting to %s</source>
        <comment>3219</comment>
        <extracomment>export progress dialog: the file being written</extracomment>
        <translation>Export nach %s</translation>
    </message>
    <message>
        <source>The export was cancelled.</source>
        <comment>3220</comment>
        <extracomment>box after Cancel in the export progress dialog</extracomment>
        <translation>Der Export wurde abgebrochen.</translation>
    </message>
    <message>
        <source>Unicode messages</source>
        <comment>3240</comment>
        <extracomment>preferences: check box for the Unicode setting</extracomment>
        <translation>Unicode-Nachrichten</translation>
    </message>
    <message>
        <source>Long messages</source>
        <comment>3241</comment>
        <extracomment>preferences: check box for the LongSms setting</extracomment>
        <translation>Lange Nachrichten</translation>
    </message>
    <message>
        <source>%u/%u (%u SMS)</source>
        <comment>3242</comment>
        <extracomment>compose counter of a long message: characters, the limit of its parts, the parts</extracomment>
        <translation>%u/%u (%u SMS)</translation>
    </message>
    <message>
        <source>Not sent, the text is too long: %s</source>
        <comment>3260</comment>
        <extracomment>transfer outcome: Outbox message with more parts than the settings allow, with its recipient</extracomment>
        <translation>Nicht gesendet, der Text ist zu lang: %s</translation>
    </message>
    <message>
        <source>%d of %d parts of the message to %s were sent; the rest stays in the Outbox and goes with the next transfer</source>
        <comment>3261</comment>
        <extracomment>transfer outcome: a long message whose sending stopped after some parts</extracomment>
        <translation>%d von %d Teilen der Nachricht an %s wurden gesendet; der Rest bleibt im Postausgang und geht mit der nächsten Übertragung</translation>
    </message>
</context>
<context>
    <name>velkan</name>
    <message>
        <source>unknown option &apos;%1&apos;</source>
        <translation>unbekannte Option „%1“</translation>
    </message>
    <message>
        <source>backup takes one FILE</source>
        <translation>backup erwartet eine DATEI</translation>
    </message>
    <message>
        <source>which file? give the copy&apos;s name</source>
        <translation>welche Datei? Geben Sie den Namen der Kopie an</translation>
    </message>
    <message>
        <source> (--force replaces it)</source>
        <translation> (--force ersetzt sie)</translation>
    </message>
    <message>
        <source>the message store was copied to %1</source>
        <translation>der Nachrichtenspeicher wurde nach %1 kopiert</translation>
    </message>
    <message>
        <source>unknown setting &apos;%1&apos; (known: %2)</source>
        <translation>unbekannte Einstellung „%1“ (bekannt: %2)</translation>
    </message>
    <message>
        <source>the settings file had lines that could not be read; they were left out, and the file as it was is kept as %1</source>
        <translation>die Einstellungsdatei enthielt unlesbare Zeilen; sie wurden ausgelassen, und die Datei in ihrem alten Zustand ist als %1 aufbewahrt</translation>
    </message>
    <message>
        <source>the settings cannot be opened; showing the defaults</source>
        <translation>die Einstellungen lassen sich nicht öffnen; es werden die Standardwerte angezeigt</translation>
    </message>
    <message>
        <source>%1 takes a number (0 = off, 1 = on)</source>
        <translation>%1 erwartet eine Zahl (0 = aus, 1 = ein)</translation>
    </message>
    <message>
        <source>%1 is not set: %2</source>
        <translation>%1 wurde nicht gesetzt: %2</translation>
    </message>
    <message>
        <source>the settings cannot be opened for writing</source>
        <translation>die Einstellungen lassen sich nicht zum Schreiben öffnen</translation>
    </message>
    <message>
        <source>%1 could not be written to %2</source>
        <translation>%1 konnte nicht in %2 geschrieben werden</translation>
    </message>
    <message>
        <source>list, get NAME or set NAME VALUE?</source>
        <translation>list, get NAME oder set NAME WERT?</translation>
    </message>
    <message>
        <source>list takes no arguments</source>
        <translation>list erwartet keine Argumente</translation>
    </message>
    <message>
        <source>get takes one NAME</source>
        <translation>get erwartet einen NAMEN</translation>
    </message>
    <message>
        <source>set takes a NAME and a VALUE</source>
        <translation>set erwartet einen NAMEN und einen WERT</translation>
    </message>
    <message>
        <source>unknown action &apos;%1&apos;: list, get or set</source>
        <translation>unbekannte Aktion „%1“: list, get oder set</translation>
    </message>
    <message>
        <source>%1 needs a value</source>
        <translation>%1 braucht einen Wert</translation>
    </message>
    <message>
        <source>unknown folder &apos;%1&apos;: inbox, outbox, draft, sent or log</source>
        <translation>unbekannter Ordner „%1“: inbox, outbox, draft, sent oder log</translation>
    </message>
    <message>
        <source>unexpected argument &apos;%1&apos;</source>
        <translation>unerwartetes Argument „%1“</translation>
    </message>
    <message>
        <source>which format? --format csv|json|xml|mbox</source>
        <translation>welches Format? --format csv|json|xml|mbox</translation>
    </message>
    <message>
        <source>unknown format &apos;%1&apos;: csv, json, xml or mbox</source>
        <translation>unbekanntes Format „%1“: csv, json, xml oder mbox</translation>
    </message>
    <message>
        <source>; no file was written</source>
        <translation>; es wurde keine Datei geschrieben</translation>
    </message>
    <message>
        <source>1 message</source>
        <translation>1 Nachricht</translation>
    </message>
    <message>
        <source>%1 messages</source>
        <translation>%1 Nachrichten</translation>
    </message>
    <message>
        <source>exported %1 to %2</source>
        <translation>%1 nach %2 exportiert</translation>
    </message>
    <message>
        <source>exported %1</source>
        <translation>%1 exportiert</translation>
    </message>
    <message>
        <source>1 message in no folder of the program (not Inbox, Outbox, Draft or Sent) was left out</source>
        <translation>1 Nachricht in keinem Ordner des Programms (weder Posteingang, Postausgang, Entwürfe noch Gesendet) wurde ausgelassen</translation>
    </message>
    <message>
        <source>%1 messages in no folder of the program (not Inbox, Outbox, Draft or Sent) were left out</source>
        <translation>%1 Nachrichten in keinem Ordner des Programms (weder Posteingang, Postausgang, Entwürfe noch Gesendet) wurden ausgelassen</translation>
    </message>
    <message>
        <source>--format needs a value</source>
        <translation>--format braucht einen Wert</translation>
    </message>
    <message>
        <source>import takes one FILE</source>
        <translation>import erwartet eine DATEI</translation>
    </message>
    <message>
        <source>which file? give the backup or export to read</source>
        <translation>welche Datei? Geben Sie die zu lesende Sicherung oder Exportdatei an</translation>
    </message>
    <message>
        <source>unknown format &apos;%1&apos;: xml, csv or json</source>
        <translation>unbekanntes Format „%1“: xml, csv oder json</translation>
    </message>
    <message>
        <source>%1 cannot be read: %2; nothing was imported</source>
        <translation>%1 kann nicht gelesen werden: %2; es wurde nichts importiert</translation>
    </message>
    <message>
        <source>standard input</source>
        <translation>Standardeingabe</translation>
    </message>
    <message>
        <source>%1: %2; nothing was imported</source>
        <translation>%1: %2; es wurde nichts importiert</translation>
    </message>
    <message>
        <source>%1; nothing was imported</source>
        <translation>%1; es wurde nichts importiert</translation>
    </message>
    <message>
        <source>imported %1 from %2 as %3</source>
        <translation>%1 aus %2 als %3 importiert</translation>
    </message>
    <message>
        <source>, %1 already in the store</source>
        <translation>, %1 bereits im Speicher</translation>
    </message>
    <message>
        <source>, %1 MMS skipped</source>
        <translation>, %1 MMS übersprungen</translation>
    </message>
    <message>
        <source>1 of them is in the Outbox and will be sent by the next send-get</source>
        <translation>1 davon liegt im Postausgang und wird beim nächsten send-get gesendet</translation>
    </message>
    <message>
        <source>%1 of them are in the Outbox and will be sent by the next send-get</source>
        <translation>%1 davon liegen im Postausgang und werden beim nächsten send-get gesendet</translation>
    </message>
    <message>
        <source>Usage: velkan VERB [ARGUMENTS]
Velkan Tessiver, the SMS manager, without its windows.

Verbs:
</source>
        <translation>Aufruf: velkan VERB [ARGUMENTE]
Velkan Tessiver, die SMS-Verwaltung, ohne ihre Fenster.

Verben:
</translation>
    </message>
    <message>
        <source>
`velkan VERB --help` describes one verb; `velkan --version` prints the release.
</source>
        <translation>
`velkan VERB --help` beschreibt ein Verb; `velkan --version` zeigt die Versionsnummer.
</translation>
    </message>
    <message>
        <source>usage:</source>
        <translation>Aufruf:</translation>
    </message>
    <message>
        <source>Try `velkan --help`.
</source>
        <translation>Siehe `velkan --help`.
</translation>
    </message>
    <message>
        <source>unknown verb &apos;%1&apos;</source>
        <translation>unbekanntes Verb „%1“</translation>
    </message>
    <message>
        <source>--tpdu-length needs a number</source>
        <translation>--tpdu-length braucht eine Zahl</translation>
    </message>
    <message>
        <source>decode takes one HEX argument</source>
        <translation>decode erwartet ein HEX-Argument</translation>
    </message>
    <message>
        <source>decode needs the PDU as HEX</source>
        <translation>decode braucht die PDU als HEX</translation>
    </message>
    <message>
        <source>encode needs --to NUMBER</source>
        <translation>encode braucht --to NUMMER</translation>
    </message>
    <message>
        <source>decode or encode?</source>
        <translation>decode oder encode?</translation>
    </message>
    <message>
        <source>unknown pdu command &apos;%1&apos;</source>
        <translation>unbekannter pdu-Befehl „%1“</translation>
    </message>
    <message>
        <source>which file? give the store that was set aside</source>
        <translation>welche Datei? Geben Sie den beiseitegelegten Speicher an</translation>
    </message>
    <message>
        <source>recover takes one FILE</source>
        <translation>recover erwartet eine DATEI</translation>
    </message>
    <message>
        <source>%1 is not a message store of Velkan Tessiver (%2); nothing was recovered</source>
        <translation>%1 ist kein Nachrichtenspeicher von Velkan Tessiver (%2); es wurde nichts wiederhergestellt</translation>
    </message>
    <message>
        <source>%1 cannot be read (%2); nothing was recovered</source>
        <translation>%1 kann nicht gelesen werden (%2); es wurde nichts wiederhergestellt</translation>
    </message>
    <message>
        <source>the messages could not be written to the store in use (%1); nothing was recovered</source>
        <translation>die Nachrichten konnten nicht in den verwendeten Speicher geschrieben werden (%1); es wurde nichts wiederhergestellt</translation>
    </message>
    <message>
        <source>recovered %1, %2 skipped, %3 unreadable</source>
        <translation>%1 wiederhergestellt, %2 übersprungen, %3 unlesbar</translation>
    </message>
    <message>
        <source>1 duplicate</source>
        <translation>1 Duplikat</translation>
    </message>
    <message>
        <source>%1 duplicates</source>
        <translation>%1 Duplikate</translation>
    </message>
    <message>
        <source>part of %1 could not be read at all; messages kept there could not be counted</source>
        <translation>ein Teil von %1 war gar nicht lesbar; dort abgelegte Nachrichten konnten nicht gezählt werden</translation>
    </message>
    <message>
        <source>which file? give a copy of the store</source>
        <translation>welche Datei? Geben Sie eine Kopie des Speichers an</translation>
    </message>
    <message>
        <source>restore takes one FILE</source>
        <translation>restore erwartet eine DATEI</translation>
    </message>
    <message>
        <source>%1; the store was not changed</source>
        <translation>%1; der Speicher wurde nicht verändert</translation>
    </message>
    <message>
        <source>%1 was restored; the previous store is kept as %2</source>
        <translation>%1 wurde wiederhergestellt; der bisherige Speicher ist als %2 aufbewahrt</translation>
    </message>
    <message>
        <source>--folder needs a folder</source>
        <translation>--folder braucht einen Ordner</translation>
    </message>
    <message>
        <source>unknown option &apos;%1&apos; (words that begin with - go after --)</source>
        <translation>unbekannte Option „%1“ (Wörter, die mit - beginnen, gehören hinter --)</translation>
    </message>
    <message>
        <source>which words? give one or more</source>
        <translation>welche Wörter? Geben Sie eines oder mehrere an</translation>
    </message>
    <message>
        <source>the messages could not be searched: %1</source>
        <translation>die Nachrichten konnten nicht durchsucht werden: %1</translation>
    </message>
    <message>
        <source>no message matches</source>
        <translation>keine Nachricht passt</translation>
    </message>
    <message>
        <source>parse needs a command line</source>
        <translation>parse braucht eine Befehlszeile</translation>
    </message>
    <message>
        <source>unknown argument to build</source>
        <translation>unbekanntes Argument für build</translation>
    </message>
    <message>
        <source>an option needs a value</source>
        <translation>eine Option braucht einen Wert</translation>
    </message>
    <message>
        <source>build needs --number</source>
        <translation>build braucht --number</translation>
    </message>
    <message>
        <source>expected parse or build</source>
        <translation>parse oder build erwartet</translation>
    </message>
    <message>
        <source>`velkan recover %1` brings back the messages that can still be read from it</source>
        <translation>`velkan recover %1` holt die Nachrichten zurück, die sich daraus noch lesen lassen</translation>
    </message>
    <message>
        <source>nothing was done; run the command again to use the new store</source>
        <translation>es wurde nichts getan; führen Sie den Befehl erneut aus, um den neuen Speicher zu verwenden</translation>
    </message>
    <message>
        <source>the message store %1 cannot be used</source>
        <translation>der Nachrichtenspeicher %1 kann nicht verwendet werden</translation>
    </message>
    <message>
        <source>the recent recipients in %1 cannot be used</source>
        <translation>die letzten Empfänger in %1 können nicht verwendet werden</translation>
    </message>
    <message>
        <source>the text was cut to %1 characters</source>
        <translation>der Text wurde auf %1 Zeichen gekürzt</translation>
    </message>
    <message>
        <source>nothing to store: the name, the number and the text are all empty</source>
        <translation>nichts zu speichern: Name, Nummer und Text sind alle leer</translation>
    </message>
    <message>
        <source>an Outbox message needs a number (--to) (use --draft to keep it as a draft)</source>
        <translation>eine Nachricht im Postausgang braucht eine Nummer (--to) (mit --draft wird sie als Entwurf gespeichert)</translation>
    </message>
    <message>
        <source>an Outbox message needs a number with digits (--to) (use --draft to keep it as a draft)</source>
        <translation>eine Nachricht im Postausgang braucht eine Nummer mit Ziffern (--to) (mit --draft wird sie als Entwurf gespeichert)</translation>
    </message>
    <message>
        <source>an Outbox message needs a text (--text) (use --draft to keep it as a draft)</source>
        <translation>eine Nachricht im Postausgang braucht einen Text (--text) (mit --draft wird sie als Entwurf gespeichert)</translation>
    </message>
    <message>
        <source>%1; nothing was stored</source>
        <translation>%1; es wurde nichts gespeichert</translation>
    </message>
    <message>
        <source>the message could not be stored: %1</source>
        <translation>die Nachricht konnte nicht gespeichert werden: %1</translation>
    </message>
    <message>
        <source>the message was stored, but the recipient was not remembered</source>
        <translation>die Nachricht wurde gespeichert, aber der Empfänger wurde nicht vermerkt</translation>
    </message>
    <message>
        <source>which folder? inbox, outbox, draft, sent or log</source>
        <translation>welcher Ordner? inbox, outbox, draft, sent oder log</translation>
    </message>
    <message>
        <source>the folder could not be read: %1</source>
        <translation>der Ordner konnte nicht gelesen werden: %1</translation>
    </message>
    <message>
        <source>the %1 folder is empty</source>
        <translation>der Ordner %1 ist leer</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not a message id</source>
        <translation>„%1“ ist keine Nachrichten-ID</translation>
    </message>
    <message>
        <source>which messages? give their ids</source>
        <translation>welche Nachrichten? Geben Sie ihre IDs an</translation>
    </message>
    <message>
        <source>there is no message %1; nothing was deleted</source>
        <translation>es gibt keine Nachricht %1; es wurde nichts gelöscht</translation>
    </message>
    <message>
        <source>nothing was deleted: %1</source>
        <translation>es wurde nichts gelöscht: %1</translation>
    </message>
    <message>
        <source>deleted %1</source>
        <translation>%1 gelöscht</translation>
    </message>
    <message>
        <source>the recent recipients could not be read</source>
        <translation>die letzten Empfänger konnten nicht gelesen werden</translation>
    </message>
    <message>
        <source>no recent recipients</source>
        <translation>keine letzten Empfänger</translation>
    </message>
    <message>
        <source>%1 (the SMSC setting); nothing was sent</source>
        <translation>%1 (die Einstellung SMSC); es wurde nichts gesendet</translation>
    </message>
    <message>
        <source>send-get takes no arguments</source>
        <translation>send-get erwartet keine Argumente</translation>
    </message>
    <message>
        <source>--to and --text are required</source>
        <translation>--to und --text sind erforderlich</translation>
    </message>
    <message>
        <source>a message needs a number and a text</source>
        <translation>eine Nachricht braucht eine Nummer und einen Text</translation>
    </message>
    <message>
        <source>%1; nothing was sent</source>
        <translation>%1; es wurde nichts gesendet</translation>
    </message>
    <message>
        <source>the message was sent but could not be stored in Sent</source>
        <translation>die Nachricht wurde gesendet, konnte aber nicht in „Gesendet“ gespeichert werden</translation>
    </message>
    <message>
        <source>which message? give its id</source>
        <translation>welche Nachricht? Geben Sie ihre ID an</translation>
    </message>
    <message>
        <source>resend takes one id</source>
        <translation>resend erwartet eine ID</translation>
    </message>
    <message>
        <source>there is no message %1; nothing was sent</source>
        <translation>es gibt keine Nachricht %1; es wurde nichts gesendet</translation>
    </message>
    <message>
        <source>message %1 could not be read: %2</source>
        <translation>Nachricht %1 konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>message %1 is not in the Outbox; only an Outbox message marked as possibly sent is sent again; nothing was sent</source>
        <translation>Nachricht %1 liegt nicht im Postausgang; erneut gesendet wird nur eine Nachricht im Postausgang, die als möglicherweise gesendet markiert ist; es wurde nichts gesendet</translation>
    </message>
    <message>
        <source>message %1 is not marked as possibly sent; `velkan send-get` sends it with the rest of the Outbox; nothing was sent</source>
        <translation>Nachricht %1 ist nicht als möglicherweise gesendet markiert; `velkan send-get` sendet sie mit dem übrigen Postausgang; es wurde nichts gesendet</translation>
    </message>
    <message>
        <source>message %1 cannot be sent: %2; nothing was sent</source>
        <translation>Nachricht %1 kann nicht gesendet werden: %2; es wurde nichts gesendet</translation>
    </message>
    <message>
        <source>message %1 stays in the Outbox, marked as possibly sent</source>
        <translation>Nachricht %1 bleibt im Postausgang, als möglicherweise gesendet markiert</translation>
    </message>
    <message>
        <source>message %1 was sent but could not be moved to Sent (%2); it stays in the Outbox, marked as possibly sent</source>
        <translation>Nachricht %1 wurde gesendet, konnte aber nicht nach „Gesendet“ verschoben werden (%2); sie bleibt im Postausgang, als möglicherweise gesendet markiert</translation>
    </message>
    <message>
        <source>exporting to %1</source>
        <translation>Export nach %1</translation>
    </message>
    <message>
        <source>exporting</source>
        <translation>Export</translation>
    </message>
    <message>
        <source>importing %1</source>
        <translation>Import von %1</translation>
    </message>
    <message>
        <source>%1 MB</source>
        <translation>%1 MB</translation>
    </message>
    <message>
        <source>%1 KB</source>
        <translation>%1 KB</translation>
    </message>
    <message>
        <source>%1 bytes</source>
        <translation>%1 Bytes</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>velkan send-get</source>
        <translation>velkan send-get</translation>
    </message>
    <message>
        <source>velkan send --to NUMBER --text TEXT [--name NAME] [--flash | --no-flash]</source>
        <translation>velkan send --to NUMMER --text TEXT [--name NAME] [--flash | --no-flash]</translation>
    </message>
    <message>
        <source>velkan resend ID</source>
        <translation>velkan resend ID</translation>
    </message>
    <message>
        <source>velkan compose --to NUMBER --text TEXT [--name NAME] [--flash | --no-flash] [--draft]</source>
        <translation>velkan compose --to NUMMER --text TEXT [--name NAME] [--flash | --no-flash] [--draft]</translation>
    </message>
    <message>
        <source>velkan list inbox|outbox|draft|sent|log [--json]</source>
        <translation>velkan list inbox|outbox|draft|sent|log [--json]</translation>
    </message>
    <message>
        <source>velkan delete ID...</source>
        <translation>velkan delete ID...</translation>
    </message>
    <message>
        <source>velkan search WORDS... [--folder inbox|outbox|draft|sent|log] [--json]</source>
        <translation>velkan search WÖRTER... [--folder inbox|outbox|draft|sent|log] [--json]</translation>
    </message>
    <message>
        <source>velkan recover FILE</source>
        <translation>velkan recover DATEI</translation>
    </message>
    <message>
        <source>velkan export --format csv|json|xml|mbox [--folder inbox|outbox|draft|sent|log] [--output FILE]</source>
        <translation>velkan export --format csv|json|xml|mbox [--folder inbox|outbox|draft|sent|log] [--output DATEI]</translation>
    </message>
    <message>
        <source>velkan import FILE [--format xml|csv|json]</source>
        <translation>velkan import DATEI [--format xml|csv|json]</translation>
    </message>
    <message>
        <source>velkan backup FILE [--force]</source>
        <translation>velkan backup DATEI [--force]</translation>
    </message>
    <message>
        <source>velkan restore FILE</source>
        <translation>velkan restore DATEI</translation>
    </message>
    <message>
        <source>velkan recent [--json]</source>
        <translation>velkan recent [--json]</translation>
    </message>
    <message>
        <source>velkan config list | get NAME | set NAME VALUE</source>
        <translation>velkan config list | get NAME | set NAME WERT</translation>
    </message>
    <message>
        <source>velkan smsto parse CMDLINE
velkan smsto build --number N [--name NAME]</source>
        <translation>velkan smsto parse BEFEHLSZEILE
velkan smsto build --number N [--name NAME]</translation>
    </message>
    <message>
        <source>velkan watch [--interval SECONDS] [--exec COMMAND] [--once]</source>
        <translation>velkan watch [--interval SEKUNDEN] [--exec BEFEHL] [--once]</translation>
    </message>
    <message>
        <source>--exec: COMMAND ends with a backslash</source>
        <translation>--exec: BEFEHL endet mit einem Backslash</translation>
    </message>
    <message>
        <source>--exec: a single quote in COMMAND is not closed</source>
        <translation>--exec: ein einfaches Anführungszeichen in BEFEHL ist nicht geschlossen</translation>
    </message>
    <message>
        <source>--exec: a double quote in COMMAND is not closed</source>
        <translation>--exec: ein doppeltes Anführungszeichen in BEFEHL ist nicht geschlossen</translation>
    </message>
    <message>
        <source>--exec: COMMAND is empty</source>
        <translation>--exec: BEFEHL ist leer</translation>
    </message>
    <message>
        <source>--exec for message %1: %2</source>
        <translation>--exec für Nachricht %1: %2</translation>
    </message>
    <message>
        <source>--exec for message %1: %2 cannot be started: %3</source>
        <translation>--exec für Nachricht %1: %2 kann nicht gestartet werden: %3</translation>
    </message>
    <message>
        <source>--exec for message %1: %2 exited with status %3</source>
        <translation>--exec für Nachricht %1: %2 endete mit Status %3</translation>
    </message>
    <message>
        <source>--exec for message %1: %2 was killed by signal %3</source>
        <translation>--exec für Nachricht %1: %2 wurde durch Signal %3 beendet</translation>
    </message>
    <message>
        <source>new message %1 could not be read: %2</source>
        <translation>neue Nachricht %1 konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>--interval: &apos;%1&apos; is not a number of seconds from 1 to 86400</source>
        <translation>--interval: „%1“ ist keine Zahl von Sekunden von 1 bis 86400</translation>
    </message>
    <message>
        <source>another transfer is running; this check is skipped</source>
        <translation>eine andere Übertragung läuft; diese Abfrage wird übersprungen</translation>
    </message>
    <message>
        <source>--reference needs a number from 0 to 255</source>
        <translation>--reference braucht eine Zahl von 0 bis 255</translation>
    </message>
    <message>
        <source>velkan pdu decode HEX [--tpdu-length N] [--unicode]
velkan pdu encode --to NUMBER [--text TEXT] [--flash] [--status-report] [--smsc NUMBER] [--unicode] [--long] [--reference R]</source>
        <translation>velkan pdu decode HEX [--tpdu-length N] [--unicode]
velkan pdu encode --to NUMMER [--text TEXT] [--flash] [--status-report] [--smsc NUMMER] [--unicode] [--long] [--reference R]</translation>
    </message>
</context>
</TS>
