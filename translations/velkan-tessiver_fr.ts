<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr">
<context>
    <name>AboutPage</name>
    <message>
        <source>SMS Management for Pocket PC</source>
        <translation>Gestion des SMS pour Pocket PC</translation>
    </message>
    <message>
        <source>Release %1</source>
        <translation>Édition %1</translation>
    </message>
    <message>
        <source>Licensed under the GNU General Public License, version 3 or later</source>
        <translation>Sous licence GNU General Public License, version 3 ou ultérieure</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fermer</translation>
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
        <translation>Annuler</translation>
    </message>
</context>
<context>
    <name>ConnectionDialog</name>
    <message>
        <source>Select the active connection</source>
        <translation>Choisir la connexion active</translation>
    </message>
    <message>
        <source>Connection:</source>
        <translation>Connexion&#xa0;:</translation>
    </message>
    <message>
        <source>TCP Address
(i.e. localhost:port):</source>
        <translation>Adresse TCP
(p. ex. localhost:port)&#xa0;:</translation>
    </message>
</context>
<context>
    <name>ContactListModel</name>
    <message>
        <source>Name</source>
        <translation>Nom</translation>
    </message>
    <message>
        <source>Phone</source>
        <translation>Téléphone</translation>
    </message>
</context>
<context>
    <name>ContactPickerDialog</name>
    <message>
        <source>Select a contact</source>
        <translation>Choisir un contact</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
</context>
<context>
    <name>EditMenu</name>
    <message>
        <source>Edit</source>
        <translation>Édition</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Couper</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copier</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Coller</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Effacer</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Tout sélectionner</translation>
    </message>
</context>
<context>
    <name>MessageDialog</name>
    <message>
        <source>Connection</source>
        <translation>Connexion</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Préférences</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Nom</translation>
    </message>
    <message>
        <source>Name:</source>
        <translation>Nom&#xa0;:</translation>
    </message>
    <message>
        <source>Number:</source>
        <translation>Numéro&#xa0;:</translation>
    </message>
    <message>
        <source>Flash SMS</source>
        <translation>SMS flash</translation>
    </message>
    <message>
        <source>Reply</source>
        <translation>Répondre</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>Transférer</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>Envoyer</translation>
    </message>
    <message>
        <source>Outbox</source>
        <translation>Boîte d&apos;envoi</translation>
    </message>
    <message>
        <source>Draft</source>
        <translation>Brouillon</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
</context>
<context>
    <name>MessageListView</name>
    <message>
        <source>Send &amp;&amp; Get</source>
        <translation>Envoyer &amp;&amp; Recevoir</translation>
    </message>
    <message>
        <source>Get</source>
        <translation>Recevoir</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>Reply</source>
        <translation>Répondre</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>Transférer</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>Quitter</translation>
    </message>
    <message>
        <source>About</source>
        <translation>À propos</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>Connexion</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Préférences</translation>
    </message>
</context>
<context>
    <name>PreferencesDialog</name>
    <message>
        <source>Preferences</source>
        <translation>Préférences</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Édition</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Couper</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copier</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Coller</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Effacer</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Tout sélectionner</translation>
    </message>
    <message>
        <source>Phone</source>
        <translation>Téléphone</translation>
    </message>
    <message>
        <source>Delete Messages after Retrieve</source>
        <translation>Supprimer les messages après réception</translation>
    </message>
    <message>
        <source>Message Options</source>
        <translation>Options des messages</translation>
    </message>
    <message>
        <source>Custom Service Center:</source>
        <translation>Centre de service personnalisé&#xa0;:</translation>
    </message>
    <message>
        <source>Request Status</source>
        <translation>Demander un accusé de réception</translation>
    </message>
    <message>
        <source>Flash SMS</source>
        <translation>SMS flash</translation>
    </message>
</context>
<context>
    <name>ProgressDialog</name>
    <message>
        <source>Checking Messages...</source>
        <translation>Vérification des messages...</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
</context>
<context>
    <name>StoreFailure</name>
    <message>
        <source>it cannot be opened</source>
        <translation>il ne peut pas être ouvert</translation>
    </message>
    <message>
        <source>the file is damaged</source>
        <translation>le fichier est endommagé</translation>
    </message>
    <message>
        <source>the file could not be read or written (error %1)</source>
        <translation>le fichier n&apos;a pas pu être lu ou écrit (erreur %1)</translation>
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
        <translation>Envoyer un SMS...</translation>
    </message>
    <message>
        <source>Inbox</source>
        <comment>2051</comment>
        <extracomment>message list folder combo; folder 1</extracomment>
        <translation>Boîte de réception</translation>
    </message>
    <message>
        <source>Outbox</source>
        <comment>2052</comment>
        <extracomment>message list folder combo; folder 2</extracomment>
        <translation>Boîte d&apos;envoi</translation>
    </message>
    <message>
        <source>Draft</source>
        <comment>2053</comment>
        <extracomment>message list folder combo; folder 3</extracomment>
        <translation>Brouillons</translation>
    </message>
    <message>
        <source>Sent</source>
        <comment>2054</comment>
        <extracomment>message list folder combo; folder 4</extracomment>
        <translation>Envoyés</translation>
    </message>
    <message>
        <source>Log</source>
        <comment>2099</comment>
        <extracomment>message list folder combo; the Inbox-and-Sent view (filter 255)</extracomment>
        <translation>Journal</translation>
    </message>
    <message>
        <source>(none)</source>
        <comment>2100</comment>
        <extracomment>message list row: sender when both name and number are empty</extracomment>
        <translation>(aucun)</translation>
    </message>
    <message>
        <source>Message(s) will be permanently deleted. Continue?</source>
        <comment>2112</comment>
        <extracomment>message list and read dialog: delete confirmation</extracomment>
        <translation>Le ou les messages seront définitivement supprimés. Continuer&#xa0;?</translation>
    </message>
    <message>
        <source>Sent</source>
        <comment>3001</comment>
        <extracomment>read dialog date line label for messages outside the Inbox</extracomment>
        <translation>Envoyé</translation>
    </message>
    <message>
        <source>Received</source>
        <comment>3002</comment>
        <extracomment>read dialog date line label for Inbox messages</extracomment>
        <translation>Reçu</translation>
    </message>
    <message>
        <source>Received (%d)</source>
        <comment>3003</comment>
        <extracomment>progress dialog status: messages received so far</extracomment>
        <translation>Reçus (%d)</translation>
    </message>
    <message>
        <source>Sending Message %d/%d</source>
        <comment>3102</comment>
        <extracomment>progress dialog status: message being sent and the count to send</extracomment>
        <translation>Envoi du message %d/%d</translation>
    </message>
    <message>
        <source>Receiving Inbox Messages...</source>
        <comment>3103</comment>
        <extracomment>progress dialog status</extracomment>
        <translation>Réception des messages...</translation>
    </message>
    <message>
        <source>Connecting Phone...</source>
        <comment>3104</comment>
        <extracomment>progress dialog status</extracomment>
        <translation>Connexion au téléphone...</translation>
    </message>
    <message>
        <source>Send SMS</source>
        <comment>3105</comment>
        <extracomment>progress dialog heading, send-only transfer</extracomment>
        <translation>Envoi des SMS</translation>
    </message>
    <message>
        <source>Send &amp;&amp; Get SMS</source>
        <comment>3106</comment>
        <extracomment>progress dialog heading, full transfer</extracomment>
        <translation>Envoi &amp;&amp; réception des SMS</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <comment>3108</comment>
        <extracomment>progress dialog status after Cancel</extracomment>
        <translation>Annulation...</translation>
    </message>
    <message>
        <source>Success</source>
        <comment>3109</comment>
        <extracomment>progress dialog summary, first line</extracomment>
        <translation>Opération réussie</translation>
    </message>
    <message>
        <source>Operation Failed (%d)</source>
        <comment>3110</comment>
        <extracomment>transfer error box for codes without their own text</extracomment>
        <translation>Échec de l&apos;opération (%d)</translation>
    </message>
    <message>
        <source>No new messages</source>
        <comment>3111</comment>
        <extracomment>progress dialog summary</extracomment>
        <translation>Aucun nouveau message</translation>
    </message>
    <message>
        <source>%d new message(s)</source>
        <comment>3112</comment>
        <extracomment>progress dialog summary</extracomment>
        <translation>%d nouveau(x) message(s)</translation>
    </message>
    <message>
        <source>%d message(s) sent</source>
        <comment>3113</comment>
        <extracomment>progress dialog summary</extracomment>
        <translation>%d message(s) envoyé(s)</translation>
    </message>
    <message>
        <source>Connected</source>
        <comment>3114</comment>
        <extracomment>progress dialog status</extracomment>
        <translation>Connecté</translation>
    </message>
    <message>
        <source>Initializing...</source>
        <comment>3115</comment>
        <extracomment>progress dialog status</extracomment>
        <translation>Initialisation...</translation>
    </message>
    <message>
        <source>A timeout occurred during connection/operation.
Operation failed.</source>
        <comment>3150</comment>
        <extracomment>transfer error box, code 10</extracomment>
        <translation>Délai dépassé pendant la connexion ou l&apos;opération.
Échec de l&apos;opération.</translation>
    </message>
    <message>
        <source>Connection failed.
Check your Connection settings.</source>
        <comment>3151</comment>
        <extracomment>transfer error box, code 12</extracomment>
        <translation>Échec de la connexion.
Vérifiez les paramètres de connexion.</translation>
    </message>
    <message>
        <source>Operation failed.
Error related to network or mobile (CMS).</source>
        <comment>3152</comment>
        <extracomment>transfer error box, code 15</extracomment>
        <translation>Échec de l&apos;opération.
Erreur du réseau ou du mobile (CMS).</translation>
    </message>
    <message>
        <source>Operation failed.
Error related to network or mobile (CME).</source>
        <comment>3153</comment>
        <extracomment>transfer error box, code 16</extracomment>
        <translation>Échec de l&apos;opération.
Erreur du réseau ou du mobile (CME).</translation>
    </message>
    <message>
        <source>Error during AT interpretation.
Operation failed.</source>
        <comment>3154</comment>
        <extracomment>transfer error box, code 14</extracomment>
        <translation>Erreur lors de l&apos;interprétation AT.
Échec de l&apos;opération.</translation>
    </message>
    <message>
        <source>Operation failed.
Invalid Parameter.</source>
        <comment>3155</comment>
        <extracomment>transfer error box, code 4</extracomment>
        <translation>Échec de l&apos;opération.
Paramètre non valide.</translation>
    </message>
    <message>
        <source>The message store cannot be used.
%s</source>
        <comment>3156</comment>
        <extracomment>transfer error box, code 20, with the reason</extracomment>
        <translation>La base de messages ne peut pas être utilisée.
%s</translation>
    </message>
    <message>
        <source>Another transfer is using the message store.
Try again when it has ended.</source>
        <comment>3157</comment>
        <extracomment>transfer error box, code 21</extracomment>
        <translation>Un autre transfert utilise la base de messages.
Réessayez lorsqu&apos;il sera terminé.</translation>
    </message>
    <message>
        <source>%d message(s) could not be stored: %s</source>
        <comment>3158</comment>
        <extracomment>transfer outcome: received messages left on the phone, with the reason</extracomment>
        <translation>%d message(s) n&apos;ont pas pu être enregistrés&#xa0;: %s</translation>
    </message>
    <message>
        <source>%d message(s) in the SIM could not be read</source>
        <comment>3159</comment>
        <extracomment>transfer outcome: listing of &quot;SM&quot; incomplete</extracomment>
        <translation>%d message(s) de la carte SIM n&apos;ont pas pu être lus</translation>
    </message>
    <message>
        <source>%d message(s) in the phone memory could not be read</source>
        <comment>3160</comment>
        <extracomment>transfer outcome: listing of &quot;ME&quot; incomplete</extracomment>
        <translation>%d message(s) de la mémoire du téléphone n&apos;ont pas pu être lus</translation>
    </message>
    <message>
        <source>Not sent, it may have been sent already: %s</source>
        <comment>3161</comment>
        <extracomment>transfer outcome: Outbox message with the may-have-been-sent mark, with its recipient</extracomment>
        <translation>Non envoyé, il a peut-être déjà été envoyé&#xa0;: %s</translation>
    </message>
    <message>
        <source>Not sent, the number cannot be used: %s</source>
        <comment>3162</comment>
        <extracomment>transfer outcome: Outbox message the encoder refused, with its recipient</extracomment>
        <translation>Non envoyé, le numéro n&apos;est pas utilisable&#xa0;: %s</translation>
    </message>
    <message>
        <source>The message to %s was sent, but it could not be moved to Sent: %s</source>
        <comment>3163</comment>
        <extracomment>transfer error detail, with the recipient and the reason</extracomment>
        <translation>Le message à %s a été envoyé, mais n&apos;a pas pu être déplacé dans Envoyés&#xa0;: %s</translation>
    </message>
    <message>
        <source>The message store cannot be used, so no messages can be shown.
%s</source>
        <comment>3170</comment>
        <extracomment>box at start: the store could not be opened; the reason follows</extracomment>
        <translation>La base de messages ne peut pas être utilisée, aucun message ne peut donc être affiché.
%s</translation>
    </message>
    <message>
        <source>The message store %s cannot be used: %s.</source>
        <comment>3171</comment>
        <extracomment>store failure reason: the file and what went wrong</extracomment>
        <translation>La base de messages %s ne peut pas être utilisée&#xa0;: %s.</translation>
    </message>
    <message>
        <source>The message could not be stored in %s.
%s</source>
        <comment>3172</comment>
        <extracomment>compose: a save failed; the folder and the reason follow</extracomment>
        <translation>Le message n&apos;a pas pu être enregistré dans %s.
%s</translation>
    </message>
    <message>
        <source>The message was sent but could not be stored in Sent.
%s</source>
        <comment>3173</comment>
        <extracomment>compose and Send again: sent, but the Sent record failed</extracomment>
        <translation>Le message a été envoyé, mais n&apos;a pas pu être enregistré dans Envoyés.
%s</translation>
    </message>
    <message>
        <source>The message was not sent, because it could not be recorded in Sent.
%s</source>
        <comment>3174</comment>
        <extracomment>compose and Send again: the store refused before sending</extracomment>
        <translation>Le message n&apos;a pas été envoyé, car il n&apos;a pas pu être inscrit dans Envoyés.
%s</translation>
    </message>
    <message>
        <source>Retry</source>
        <comment>3175</comment>
        <extracomment>message list: opens the store again; compose: stores a sent message again</extracomment>
        <translation>Réessayer</translation>
    </message>
    <message>
        <source>may have been sent</source>
        <comment>3176</comment>
        <extracomment>message list row and compose: an Outbox message whose sending was never confirmed</extracomment>
        <translation>peut-être envoyé</translation>
    </message>
    <message>
        <source>cannot be sent</source>
        <comment>3177</comment>
        <extracomment>message list row and compose: an Outbox message that cannot be encoded</extracomment>
        <translation>ne peut pas être envoyé</translation>
    </message>
    <message>
        <source>Send again</source>
        <comment>3178</comment>
        <extracomment>message list Sms and context menus, compose: send a message that may have been sent</extracomment>
        <translation>Renvoyer</translation>
    </message>
    <message>
        <source>Discard this message?</source>
        <comment>3179</comment>
        <extracomment>compose: Escape with something typed</extracomment>
        <translation>Abandonner ce message&#xa0;?</translation>
    </message>
    <message>
        <source>The service center number has %d digits; it can have at most 20.</source>
        <comment>3180</comment>
        <extracomment>preferences: a service centre that is too long</extracomment>
        <translation>Le numéro du centre de service comporte %d chiffres&#xa0;; il peut en avoir 20 au plus.</translation>
    </message>
    <message>
        <source>Message(s) could not be deleted.
%s</source>
        <comment>3181</comment>
        <extracomment>message list and read dialog: a deletion failed; the reason follows</extracomment>
        <translation>Le ou les messages n&apos;ont pas pu être supprimés.
%s</translation>
    </message>
    <message>
        <source>The message could not be marked as read.
%s</source>
        <comment>3182</comment>
        <extracomment>read dialog: marking a received message read failed</extracomment>
        <translation>Le message n&apos;a pas pu être marqué comme lu.
%s</translation>
    </message>
    <message>
        <source>Checking...</source>
        <comment>3300</comment>
        <extracomment>message list: the line above the rows while an automatic check runs</extracomment>
        <translation>Vérification...</translation>
    </message>
    <message>
        <source>%d new messages</source>
        <comment>3301</comment>
        <extracomment>desktop notification: the one that stands for more than three new messages</extracomment>
        <translation>%d nouveaux messages</translation>
    </message>
    <message>
        <source>Open</source>
        <comment>3302</comment>
        <extracomment>desktop notification: the action that shows the message in the program</extracomment>
        <translation>Ouvrir</translation>
    </message>
    <message>
        <source>New Messages</source>
        <comment>3303</comment>
        <extracomment>preferences: heading of the automatic check, notification and contact name options</extracomment>
        <translation>Nouveaux messages</translation>
    </message>
    <message>
        <source>Check for new messages every</source>
        <comment>3304</comment>
        <extracomment>preferences: before the spin box of minutes (0 = off)</extracomment>
        <translation>Vérifier les nouveaux messages toutes les</translation>
    </message>
    <message>
        <source>minutes</source>
        <comment>3305</comment>
        <extracomment>preferences: after the spin box of minutes</extracomment>
        <translation>minutes</translation>
    </message>
    <message>
        <source>Send the Outbox when checking</source>
        <comment>3306</comment>
        <extracomment>preferences: the automatic check also sends the Outbox</extracomment>
        <translation>Envoyer la boîte d&apos;envoi lors de la vérification</translation>
    </message>
    <message>
        <source>Notify me of new messages</source>
        <comment>3307</comment>
        <extracomment>preferences: desktop notifications and the unread count in the title</extracomment>
        <translation>M&apos;avertir des nouveaux messages</translation>
    </message>
    <message>
        <source>Show contact names</source>
        <comment>3308</comment>
        <extracomment>preferences: names of contacts for known numbers in the list, read dialog and notifications</extracomment>
        <translation>Afficher les noms des contacts</translation>
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
        <translation>Options</translation>
    </message>
    <message>
        <source>New</source>
        <comment>40013</comment>
        <extracomment>message list menu bar: new message button</extracomment>
        <translation>Nouveau</translation>
    </message>
    <message>
        <source>Find</source>
        <comment>3200</comment>
        <extracomment>message list Sms menu: shows the search field above the rows (Ctrl+F)</extracomment>
        <translation>Rechercher</translation>
    </message>
    <message>
        <source>All folders</source>
        <comment>3201</comment>
        <extracomment>message list search line: check box, search every folder; export: the messages of every folder</extracomment>
        <translation>Tous les dossiers</translation>
    </message>
    <message>
        <source>Words to find</source>
        <comment>3202</comment>
        <extracomment>message list search line: placeholder of the empty field</extracomment>
        <translation>Mots à rechercher</translation>
    </message>
    <message>
        <source>Export...</source>
        <comment>3203</comment>
        <extracomment>message list Options menu: writes messages to a file</extracomment>
        <translation>Exporter...</translation>
    </message>
    <message>
        <source>Import...</source>
        <comment>3204</comment>
        <extracomment>message list Options menu: reads messages from a file</extracomment>
        <translation>Importer...</translation>
    </message>
    <message>
        <source>Export</source>
        <comment>3205</comment>
        <extracomment>export dialog heading</extracomment>
        <translation>Exporter</translation>
    </message>
    <message>
        <source>Format:</source>
        <comment>3206</comment>
        <extracomment>export dialog: label of the format list</extracomment>
        <translation>Format&#xa0;:</translation>
    </message>
    <message>
        <source>Messages:</source>
        <comment>3207</comment>
        <extracomment>export dialog: label of the folder list</extracomment>
        <translation>Messages&#xa0;:</translation>
    </message>
    <message>
        <source>%s (the folder shown)</source>
        <comment>3208</comment>
        <extracomment>export dialog folder list: the folder shown now, by name</extracomment>
        <translation>%s (le dossier affiché)</translation>
    </message>
    <message>
        <source>%s message(s) written to %s</source>
        <comment>3209</comment>
        <extracomment>box after an export: the count and the file</extracomment>
        <translation>%s message(s) écrit(s) dans %s</translation>
    </message>
    <message>
        <source>Nothing was exported.
%s</source>
        <comment>3210</comment>
        <extracomment>box after a failed export: the reason follows</extracomment>
        <translation>Rien n&apos;a été exporté.
%s</translation>
    </message>
    <message>
        <source>Importing %s</source>
        <comment>3211</comment>
        <extracomment>import progress dialog: the file being read</extracomment>
        <translation>Importation de %s</translation>
    </message>
    <message>
        <source>%s message(s) imported, %s duplicate(s) skipped, %s MMS skipped</source>
        <comment>3212</comment>
        <extracomment>box after an import: the counts</extracomment>
        <translation>%s message(s) importé(s), %s doublon(s) ignoré(s), %s MMS ignoré(s)</translation>
    </message>
    <message>
        <source>Nothing was imported.
%s</source>
        <comment>3213</comment>
        <extracomment>box after a failed or cancelled import: the reason follows</extracomment>
        <translation>Rien n&apos;a été importé.
%s</translation>
    </message>
    <message>
        <source>%s of them are in the Outbox and will be sent by the next Send &amp; Get.</source>
        <comment>3214</comment>
        <extracomment>box after an import: messages imported into the Outbox</extracomment>
        <translation>%s d&apos;entre eux sont dans la boîte d&apos;envoi et seront envoyés au prochain « Envoyer &amp; Recevoir ».</translation>
    </message>
    <message>
        <source>A transfer is running. Import when it has ended.</source>
        <comment>3215</comment>
        <extracomment>box: Import chosen while a transfer holds the store</extracomment>
        <translation>Un transfert est en cours. Importez quand il sera terminé.</translation>
    </message>
    <message>
        <source>The import was cancelled.</source>
        <comment>3216</comment>
        <extracomment>box after Cancel in the import progress dialog</extracomment>
        <translation>L&apos;importation a été annulée.</translation>
    </message>
    <message>
        <source>Export messages to</source>
        <comment>3217</comment>
        <extracomment>export: title of the file dialog</extracomment>
        <translation>Exporter les messages vers</translation>
    </message>
    <message>
        <source>Import messages from</source>
        <comment>3218</comment>
        <extracomment>import: title of the file dialog</extracomment>
        <translation>Importer les messages depuis</translation>
    </message>
    <message>
        <source>Exporting to %s</source>
        <comment>3219</comment>
        <extracomment>export progress dialog: the file being written</extracomment>
        <translation>Exportation vers %s</translation>
    </message>
    <message>
        <source>The export was cancelled.</source>
        <comment>3220</comment>
        <extracomment>box after Cancel in the export progress dialog</extracomment>
        <translation>L&apos;exportation a été annulée.</translation>
    </message>
    <message>
        <source>Unicode messages</source>
        <comment>3240</comment>
        <extracomment>preferences: check box for the Unicode setting</extracomment>
        <translation>Messages Unicode</translation>
    </message>
    <message>
        <source>Long messages</source>
        <comment>3241</comment>
        <extracomment>preferences: check box for the LongSms setting</extracomment>
        <translation>Messages longs</translation>
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
        <translation>Non envoyé, le texte est trop long&#xa0;: %s</translation>
    </message>
    <message>
        <source>%d of %d parts of the message to %s were sent; the rest stays in the Outbox and goes with the next transfer</source>
        <comment>3261</comment>
        <extracomment>transfer outcome: a long message whose sending stopped after some parts</extracomment>
        <translation>%d parties sur %d du message à %s ont été envoyées&#xa0;; le reste demeure dans la boîte d&apos;envoi et partira au prochain transfert</translation>
    </message>
</context>
<context>
    <name>velkan</name>
    <message>
        <source>unknown option &apos;%1&apos;</source>
        <translation>option inconnue «&#xa0;%1&#xa0;»</translation>
    </message>
    <message>
        <source>backup takes one FILE</source>
        <translation>backup attend un FICHIER</translation>
    </message>
    <message>
        <source>which file? give the copy&apos;s name</source>
        <translation>quel fichier&#xa0;? indiquez le nom de la copie</translation>
    </message>
    <message>
        <source> (--force replaces it)</source>
        <translation> (--force le remplace)</translation>
    </message>
    <message>
        <source>the message store was copied to %1</source>
        <translation>la base de messages a été copiée dans %1</translation>
    </message>
    <message>
        <source>unknown setting &apos;%1&apos; (known: %2)</source>
        <translation>paramètre inconnu «&#xa0;%1&#xa0;» (connus&#xa0;: %2)</translation>
    </message>
    <message>
        <source>the settings file had lines that could not be read; they were left out, and the file as it was is kept as %1</source>
        <translation>le fichier des paramètres contenait des lignes illisibles&#xa0;; elles ont été ignorées et le fichier tel qu&apos;il était est conservé sous %1</translation>
    </message>
    <message>
        <source>the settings cannot be opened; showing the defaults</source>
        <translation>les paramètres ne peuvent pas être ouverts&#xa0;; affichage des valeurs par défaut</translation>
    </message>
    <message>
        <source>%1 takes a number (0 = off, 1 = on)</source>
        <translation>%1 attend un nombre (0 = désactivé, 1 = activé)</translation>
    </message>
    <message>
        <source>%1 is not set: %2</source>
        <translation>%1 n&apos;est pas modifié&#xa0;: %2</translation>
    </message>
    <message>
        <source>the settings cannot be opened for writing</source>
        <translation>les paramètres ne peuvent pas être ouverts en écriture</translation>
    </message>
    <message>
        <source>%1 could not be written to %2</source>
        <translation>%1 n&apos;a pas pu être écrit dans %2</translation>
    </message>
    <message>
        <source>list, get NAME or set NAME VALUE?</source>
        <translation>list, get NOM ou set NOM VALEUR&#xa0;?</translation>
    </message>
    <message>
        <source>list takes no arguments</source>
        <translation>list n&apos;attend aucun argument</translation>
    </message>
    <message>
        <source>get takes one NAME</source>
        <translation>get attend un NOM</translation>
    </message>
    <message>
        <source>set takes a NAME and a VALUE</source>
        <translation>set attend un NOM et une VALEUR</translation>
    </message>
    <message>
        <source>unknown action &apos;%1&apos;: list, get or set</source>
        <translation>action inconnue «&#xa0;%1&#xa0;»&#xa0;: list, get ou set</translation>
    </message>
    <message>
        <source>%1 needs a value</source>
        <translation>%1 attend une valeur</translation>
    </message>
    <message>
        <source>unknown folder &apos;%1&apos;: inbox, outbox, draft, sent or log</source>
        <translation>dossier inconnu «&#xa0;%1&#xa0;»&#xa0;: inbox, outbox, draft, sent ou log</translation>
    </message>
    <message>
        <source>unexpected argument &apos;%1&apos;</source>
        <translation>argument inattendu «&#xa0;%1&#xa0;»</translation>
    </message>
    <message>
        <source>which format? --format csv|json|xml|mbox</source>
        <translation>quel format&#xa0;? --format csv|json|xml|mbox</translation>
    </message>
    <message>
        <source>unknown format &apos;%1&apos;: csv, json, xml or mbox</source>
        <translation>format inconnu «&#xa0;%1&#xa0;»&#xa0;: csv, json, xml ou mbox</translation>
    </message>
    <message>
        <source>; no file was written</source>
        <translation>&#xa0;; aucun fichier n&apos;a été écrit</translation>
    </message>
    <message>
        <source>1 message</source>
        <translation>1 message</translation>
    </message>
    <message>
        <source>%1 messages</source>
        <translation>%1 messages</translation>
    </message>
    <message>
        <source>exported %1 to %2</source>
        <translation>%1 exporté(s) dans %2</translation>
    </message>
    <message>
        <source>exported %1</source>
        <translation>%1 exporté(s)</translation>
    </message>
    <message>
        <source>1 message in no folder of the program (not Inbox, Outbox, Draft or Sent) was left out</source>
        <translation>1 message hors des dossiers du programme (ni Boîte de réception, Boîte d&apos;envoi, Brouillons ou Envoyés) a été ignoré</translation>
    </message>
    <message>
        <source>%1 messages in no folder of the program (not Inbox, Outbox, Draft or Sent) were left out</source>
        <translation>%1 messages hors des dossiers du programme (ni Boîte de réception, Boîte d&apos;envoi, Brouillons ou Envoyés) ont été ignorés</translation>
    </message>
    <message>
        <source>--format needs a value</source>
        <translation>--format attend une valeur</translation>
    </message>
    <message>
        <source>import takes one FILE</source>
        <translation>import attend un FICHIER</translation>
    </message>
    <message>
        <source>which file? give the backup or export to read</source>
        <translation>quel fichier&#xa0;? indiquez la sauvegarde ou l&apos;export à lire</translation>
    </message>
    <message>
        <source>unknown format &apos;%1&apos;: xml, csv or json</source>
        <translation>format inconnu «&#xa0;%1&#xa0;»&#xa0;: xml, csv ou json</translation>
    </message>
    <message>
        <source>%1 cannot be read: %2; nothing was imported</source>
        <translation>%1 ne peut pas être lu&#xa0;: %2&#xa0;; rien n&apos;a été importé</translation>
    </message>
    <message>
        <source>standard input</source>
        <translation>l&apos;entrée standard</translation>
    </message>
    <message>
        <source>%1: %2; nothing was imported</source>
        <translation>%1&#xa0;: %2&#xa0;; rien n&apos;a été importé</translation>
    </message>
    <message>
        <source>%1; nothing was imported</source>
        <translation>%1&#xa0;; rien n&apos;a été importé</translation>
    </message>
    <message>
        <source>imported %1 from %2 as %3</source>
        <translation>%1 importé(s) depuis %2 au format %3</translation>
    </message>
    <message>
        <source>, %1 already in the store</source>
        <translation>, %1 déjà dans la base</translation>
    </message>
    <message>
        <source>, %1 MMS skipped</source>
        <translation>, %1 MMS ignorés</translation>
    </message>
    <message>
        <source>1 of them is in the Outbox and will be sent by the next send-get</source>
        <translation>1 d&apos;entre eux est dans la Boîte d&apos;envoi et sera envoyé au prochain send-get</translation>
    </message>
    <message>
        <source>%1 of them are in the Outbox and will be sent by the next send-get</source>
        <translation>%1 d&apos;entre eux sont dans la Boîte d&apos;envoi et seront envoyés au prochain send-get</translation>
    </message>
    <message>
        <source>Usage: velkan VERB [ARGUMENTS]
Velkan Tessiver, the SMS manager, without its windows.

Verbs:
</source>
        <translation>Utilisation&#xa0;: velkan VERBE [ARGUMENTS]
Velkan Tessiver, le gestionnaire de SMS, sans ses fenêtres.

Verbes&#xa0;:
</translation>
    </message>
    <message>
        <source>
`velkan VERB --help` describes one verb; `velkan --version` prints the release.
</source>
        <translation>
`velkan VERBE --help` décrit un verbe&#xa0;; `velkan --version` affiche la version.
</translation>
    </message>
    <message>
        <source>usage:</source>
        <translation>utilisation&#xa0;:</translation>
    </message>
    <message>
        <source>Try `velkan --help`.
</source>
        <translation>Essayez `velkan --help`.
</translation>
    </message>
    <message>
        <source>unknown verb &apos;%1&apos;</source>
        <translation>verbe inconnu «&#xa0;%1&#xa0;»</translation>
    </message>
    <message>
        <source>--tpdu-length needs a number</source>
        <translation>--tpdu-length attend un nombre</translation>
    </message>
    <message>
        <source>decode takes one HEX argument</source>
        <translation>decode attend un argument HEX</translation>
    </message>
    <message>
        <source>decode needs the PDU as HEX</source>
        <translation>decode attend la PDU en HEX</translation>
    </message>
    <message>
        <source>encode needs --to NUMBER</source>
        <translation>encode attend --to NUMÉRO</translation>
    </message>
    <message>
        <source>decode or encode?</source>
        <translation>decode ou encode&#xa0;?</translation>
    </message>
    <message>
        <source>unknown pdu command &apos;%1&apos;</source>
        <translation>commande pdu inconnue «&#xa0;%1&#xa0;»</translation>
    </message>
    <message>
        <source>which file? give the store that was set aside</source>
        <translation>quel fichier&#xa0;? indiquez la base mise de côté</translation>
    </message>
    <message>
        <source>recover takes one FILE</source>
        <translation>recover attend un FICHIER</translation>
    </message>
    <message>
        <source>%1 is not a message store of Velkan Tessiver (%2); nothing was recovered</source>
        <translation>%1 n&apos;est pas une base de messages de Velkan Tessiver (%2)&#xa0;; rien n&apos;a été récupéré</translation>
    </message>
    <message>
        <source>%1 cannot be read (%2); nothing was recovered</source>
        <translation>%1 ne peut pas être lu (%2)&#xa0;; rien n&apos;a été récupéré</translation>
    </message>
    <message>
        <source>the messages could not be written to the store in use (%1); nothing was recovered</source>
        <translation>les messages n&apos;ont pas pu être écrits dans la base utilisée (%1)&#xa0;; rien n&apos;a été récupéré</translation>
    </message>
    <message>
        <source>recovered %1, %2 skipped, %3 unreadable</source>
        <translation>%1 récupéré(s), %2 ignoré(s), %3 illisible(s)</translation>
    </message>
    <message>
        <source>1 duplicate</source>
        <translation>1 doublon</translation>
    </message>
    <message>
        <source>%1 duplicates</source>
        <translation>%1 doublons</translation>
    </message>
    <message>
        <source>part of %1 could not be read at all; messages kept there could not be counted</source>
        <translation>une partie de %1 n&apos;a pas pu être lue du tout&#xa0;; les messages qui s&apos;y trouvaient n&apos;ont pas pu être comptés</translation>
    </message>
    <message>
        <source>which file? give a copy of the store</source>
        <translation>quel fichier&#xa0;? indiquez une copie de la base</translation>
    </message>
    <message>
        <source>restore takes one FILE</source>
        <translation>restore attend un FICHIER</translation>
    </message>
    <message>
        <source>%1; the store was not changed</source>
        <translation>%1&#xa0;; la base n&apos;a pas été modifiée</translation>
    </message>
    <message>
        <source>%1 was restored; the previous store is kept as %2</source>
        <translation>%1 a été restauré&#xa0;; l&apos;ancienne base est conservée sous %2</translation>
    </message>
    <message>
        <source>--folder needs a folder</source>
        <translation>--folder attend un dossier</translation>
    </message>
    <message>
        <source>unknown option &apos;%1&apos; (words that begin with - go after --)</source>
        <translation>option inconnue «&#xa0;%1&#xa0;» (les mots qui commencent par - se placent après --)</translation>
    </message>
    <message>
        <source>which words? give one or more</source>
        <translation>quels mots&#xa0;? indiquez-en un ou plusieurs</translation>
    </message>
    <message>
        <source>the messages could not be searched: %1</source>
        <translation>la recherche dans les messages a échoué&#xa0;: %1</translation>
    </message>
    <message>
        <source>no message matches</source>
        <translation>aucun message ne correspond</translation>
    </message>
    <message>
        <source>parse needs a command line</source>
        <translation>parse attend une ligne de commande</translation>
    </message>
    <message>
        <source>unknown argument to build</source>
        <translation>argument inconnu pour build</translation>
    </message>
    <message>
        <source>an option needs a value</source>
        <translation>une option attend une valeur</translation>
    </message>
    <message>
        <source>build needs --number</source>
        <translation>build attend --number</translation>
    </message>
    <message>
        <source>expected parse or build</source>
        <translation>parse ou build attendu</translation>
    </message>
    <message>
        <source>`velkan recover %1` brings back the messages that can still be read from it</source>
        <translation>`velkan recover %1` récupère les messages qui peuvent encore y être lus</translation>
    </message>
    <message>
        <source>nothing was done; run the command again to use the new store</source>
        <translation>rien n&apos;a été fait&#xa0;; relancez la commande pour utiliser la nouvelle base</translation>
    </message>
    <message>
        <source>the message store %1 cannot be used</source>
        <translation>la base de messages %1 ne peut pas être utilisée</translation>
    </message>
    <message>
        <source>the recent recipients in %1 cannot be used</source>
        <translation>les destinataires récents de %1 ne peuvent pas être utilisés</translation>
    </message>
    <message>
        <source>the text was cut to %1 characters</source>
        <translation>le texte a été coupé à %1 caractères</translation>
    </message>
    <message>
        <source>nothing to store: the name, the number and the text are all empty</source>
        <translation>rien à enregistrer&#xa0;: le nom, le numéro et le texte sont tous vides</translation>
    </message>
    <message>
        <source>an Outbox message needs a number (--to) (use --draft to keep it as a draft)</source>
        <translation>un message de la Boîte d&apos;envoi a besoin d&apos;un numéro (--to) (avec --draft, il est gardé comme brouillon)</translation>
    </message>
    <message>
        <source>an Outbox message needs a number with digits (--to) (use --draft to keep it as a draft)</source>
        <translation>un message de la Boîte d&apos;envoi a besoin d&apos;un numéro avec des chiffres (--to) (avec --draft, il est gardé comme brouillon)</translation>
    </message>
    <message>
        <source>an Outbox message needs a text (--text) (use --draft to keep it as a draft)</source>
        <translation>un message de la Boîte d&apos;envoi a besoin d&apos;un texte (--text) (avec --draft, il est gardé comme brouillon)</translation>
    </message>
    <message>
        <source>%1; nothing was stored</source>
        <translation>%1&#xa0;; rien n&apos;a été enregistré</translation>
    </message>
    <message>
        <source>the message could not be stored: %1</source>
        <translation>le message n&apos;a pas pu être enregistré&#xa0;: %1</translation>
    </message>
    <message>
        <source>the message was stored, but the recipient was not remembered</source>
        <translation>le message a été enregistré, mais le destinataire n&apos;a pas été mémorisé</translation>
    </message>
    <message>
        <source>which folder? inbox, outbox, draft, sent or log</source>
        <translation>quel dossier&#xa0;? inbox, outbox, draft, sent ou log</translation>
    </message>
    <message>
        <source>the folder could not be read: %1</source>
        <translation>le dossier n&apos;a pas pu être lu&#xa0;: %1</translation>
    </message>
    <message>
        <source>the %1 folder is empty</source>
        <translation>le dossier %1 est vide</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not a message id</source>
        <translation>«&#xa0;%1&#xa0;» n&apos;est pas un identifiant de message</translation>
    </message>
    <message>
        <source>which messages? give their ids</source>
        <translation>quels messages&#xa0;? indiquez leurs identifiants</translation>
    </message>
    <message>
        <source>there is no message %1; nothing was deleted</source>
        <translation>il n&apos;y a pas de message %1&#xa0;; rien n&apos;a été supprimé</translation>
    </message>
    <message>
        <source>nothing was deleted: %1</source>
        <translation>rien n&apos;a été supprimé&#xa0;: %1</translation>
    </message>
    <message>
        <source>deleted %1</source>
        <translation>%1 supprimé(s)</translation>
    </message>
    <message>
        <source>the recent recipients could not be read</source>
        <translation>les destinataires récents n&apos;ont pas pu être lus</translation>
    </message>
    <message>
        <source>no recent recipients</source>
        <translation>aucun destinataire récent</translation>
    </message>
    <message>
        <source>%1 (the SMSC setting); nothing was sent</source>
        <translation>%1 (le paramètre SMSC)&#xa0;; rien n&apos;a été envoyé</translation>
    </message>
    <message>
        <source>send-get takes no arguments</source>
        <translation>send-get n&apos;attend aucun argument</translation>
    </message>
    <message>
        <source>--to and --text are required</source>
        <translation>--to et --text sont obligatoires</translation>
    </message>
    <message>
        <source>a message needs a number and a text</source>
        <translation>un message a besoin d&apos;un numéro et d&apos;un texte</translation>
    </message>
    <message>
        <source>%1; nothing was sent</source>
        <translation>%1&#xa0;; rien n&apos;a été envoyé</translation>
    </message>
    <message>
        <source>the message was sent but could not be stored in Sent</source>
        <translation>le message a été envoyé, mais n&apos;a pas pu être enregistré dans Envoyés</translation>
    </message>
    <message>
        <source>which message? give its id</source>
        <translation>quel message&#xa0;? indiquez son identifiant</translation>
    </message>
    <message>
        <source>resend takes one id</source>
        <translation>resend attend un identifiant</translation>
    </message>
    <message>
        <source>there is no message %1; nothing was sent</source>
        <translation>il n&apos;y a pas de message %1&#xa0;; rien n&apos;a été envoyé</translation>
    </message>
    <message>
        <source>message %1 could not be read: %2</source>
        <translation>le message %1 n&apos;a pas pu être lu&#xa0;: %2</translation>
    </message>
    <message>
        <source>message %1 is not in the Outbox; only an Outbox message marked as possibly sent is sent again; nothing was sent</source>
        <translation>le message %1 n&apos;est pas dans la Boîte d&apos;envoi&#xa0;; seul un message de la Boîte d&apos;envoi marqué comme peut-être envoyé est renvoyé&#xa0;; rien n&apos;a été envoyé</translation>
    </message>
    <message>
        <source>message %1 is not marked as possibly sent; `velkan send-get` sends it with the rest of the Outbox; nothing was sent</source>
        <translation>le message %1 n&apos;est pas marqué comme peut-être envoyé&#xa0;; `velkan send-get` l&apos;envoie avec le reste de la Boîte d&apos;envoi&#xa0;; rien n&apos;a été envoyé</translation>
    </message>
    <message>
        <source>message %1 cannot be sent: %2; nothing was sent</source>
        <translation>le message %1 ne peut pas être envoyé&#xa0;: %2&#xa0;; rien n&apos;a été envoyé</translation>
    </message>
    <message>
        <source>message %1 stays in the Outbox, marked as possibly sent</source>
        <translation>le message %1 reste dans la Boîte d&apos;envoi, marqué comme peut-être envoyé</translation>
    </message>
    <message>
        <source>message %1 was sent but could not be moved to Sent (%2); it stays in the Outbox, marked as possibly sent</source>
        <translation>le message %1 a été envoyé, mais n&apos;a pas pu être déplacé dans Envoyés (%2)&#xa0;; il reste dans la Boîte d&apos;envoi, marqué comme peut-être envoyé</translation>
    </message>
    <message>
        <source>exporting to %1</source>
        <translation>export vers %1</translation>
    </message>
    <message>
        <source>exporting</source>
        <translation>export</translation>
    </message>
    <message>
        <source>importing %1</source>
        <translation>import de %1</translation>
    </message>
    <message>
        <source>%1 MB</source>
        <translation>%1&#xa0;Mo</translation>
    </message>
    <message>
        <source>%1 KB</source>
        <translation>%1&#xa0;Ko</translation>
    </message>
    <message>
        <source>%1 bytes</source>
        <translation>%1&#xa0;octets</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 sur %2</translation>
    </message>
    <message>
        <source>velkan send-get</source>
        <translation>velkan send-get</translation>
    </message>
    <message>
        <source>velkan send --to NUMBER --text TEXT [--name NAME] [--flash | --no-flash]</source>
        <translation>velkan send --to NUMÉRO --text TEXTE [--name NOM] [--flash | --no-flash]</translation>
    </message>
    <message>
        <source>velkan resend ID</source>
        <translation>velkan resend ID</translation>
    </message>
    <message>
        <source>velkan compose --to NUMBER --text TEXT [--name NAME] [--flash | --no-flash] [--draft]</source>
        <translation>velkan compose --to NUMÉRO --text TEXTE [--name NOM] [--flash | --no-flash] [--draft]</translation>
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
        <translation>velkan search MOTS... [--folder inbox|outbox|draft|sent|log] [--json]</translation>
    </message>
    <message>
        <source>velkan recover FILE</source>
        <translation>velkan recover FICHIER</translation>
    </message>
    <message>
        <source>velkan export --format csv|json|xml|mbox [--folder inbox|outbox|draft|sent|log] [--output FILE]</source>
        <translation>velkan export --format csv|json|xml|mbox [--folder inbox|outbox|draft|sent|log] [--output FICHIER]</translation>
    </message>
    <message>
        <source>velkan import FILE [--format xml|csv|json]</source>
        <translation>velkan import FICHIER [--format xml|csv|json]</translation>
    </message>
    <message>
        <source>velkan backup FILE [--force]</source>
        <translation>velkan backup FICHIER [--force]</translation>
    </message>
    <message>
        <source>velkan restore FILE</source>
        <translation>velkan restore FICHIER</translation>
    </message>
    <message>
        <source>velkan recent [--json]</source>
        <translation>velkan recent [--json]</translation>
    </message>
    <message>
        <source>velkan config list | get NAME | set NAME VALUE</source>
        <translation>velkan config list | get NOM | set NOM VALEUR</translation>
    </message>
    <message>
        <source>velkan smsto parse CMDLINE
velkan smsto build --number N [--name NAME]</source>
        <translation>velkan smsto parse LIGNE_DE_COMMANDE
velkan smsto build --number N [--name NOM]</translation>
    </message>
    <message>
        <source>velkan watch [--interval SECONDS] [--exec COMMAND] [--once]</source>
        <translation>velkan watch [--interval SECONDES] [--exec COMMANDE] [--once]</translation>
    </message>
    <message>
        <source>--exec: COMMAND ends with a backslash</source>
        <translation>--exec&#xa0;: COMMANDE se termine par une barre oblique inverse</translation>
    </message>
    <message>
        <source>--exec: a single quote in COMMAND is not closed</source>
        <translation>--exec&#xa0;: une apostrophe dans COMMANDE n&apos;est pas fermée</translation>
    </message>
    <message>
        <source>--exec: a double quote in COMMAND is not closed</source>
        <translation>--exec&#xa0;: un guillemet dans COMMANDE n&apos;est pas fermé</translation>
    </message>
    <message>
        <source>--exec: COMMAND is empty</source>
        <translation>--exec&#xa0;: COMMANDE est vide</translation>
    </message>
    <message>
        <source>--exec for message %1: %2</source>
        <translation>--exec pour le message %1&#xa0;: %2</translation>
    </message>
    <message>
        <source>--exec for message %1: %2 cannot be started: %3</source>
        <translation>--exec pour le message %1&#xa0;: %2 ne peut pas être lancé&#xa0;: %3</translation>
    </message>
    <message>
        <source>--exec for message %1: %2 exited with status %3</source>
        <translation>--exec pour le message %1&#xa0;: %2 s&apos;est terminé avec le code %3</translation>
    </message>
    <message>
        <source>--exec for message %1: %2 was killed by signal %3</source>
        <translation>--exec pour le message %1&#xa0;: %2 a été tué par le signal %3</translation>
    </message>
    <message>
        <source>new message %1 could not be read: %2</source>
        <translation>le nouveau message %1 n&apos;a pas pu être lu&#xa0;: %2</translation>
    </message>
    <message>
        <source>--interval: &apos;%1&apos; is not a number of seconds from 1 to 86400</source>
        <translation>--interval&#xa0;: «&#xa0;%1&#xa0;» n&apos;est pas un nombre de secondes de 1 à 86400</translation>
    </message>
    <message>
        <source>another transfer is running; this check is skipped</source>
        <translation>un autre transfert est en cours&#xa0;; cette vérification est sautée</translation>
    </message>
    <message>
        <source>--reference needs a number from 0 to 255</source>
        <translation>--reference attend un nombre de 0 à 255</translation>
    </message>
    <message>
        <source>velkan pdu decode HEX [--tpdu-length N] [--unicode]
velkan pdu encode --to NUMBER [--text TEXT] [--flash] [--status-report] [--smsc NUMBER] [--unicode] [--long] [--reference R]</source>
        <translation>velkan pdu decode HEX [--tpdu-length N] [--unicode]
velkan pdu encode --to NUMÉRO [--text TEXTE] [--flash] [--status-report] [--smsc NUMÉRO] [--unicode] [--long] [--reference R]</translation>
    </message>
</context>
</TS>
