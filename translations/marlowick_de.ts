<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>ArchiveUnpacker</name>
    <message>
        <source>encrypted 7z archives cannot be read</source>
        <translation>verschlüsselte 7z-Archive können nicht gelesen werden</translation>
    </message>
    <message>
        <source>the archive is damaged</source>
        <translation>das Archiv ist beschädigt</translation>
    </message>
    <message>
        <source>members that are links or have forbidden names</source>
        <translation>Einträge, die Verknüpfungen sind oder unzulässige Namen haben</translation>
    </message>
</context>
<context>
    <name>ConnectionPool</name>
    <message>
        <source>Connecting to server...</source>
        <translation>Verbindung mit dem Server wird hergestellt …</translation>
    </message>
    <message>
        <source>Connected (%1)</source>
        <translation>Verbunden (%1)</translation>
    </message>
    <message>
        <source>Server asks for password. Please specify password in &apos;settings&apos; window.</source>
        <translation>Der Server verlangt ein Passwort. Bitte geben Sie es im Fenster „Einstellungen“ an.</translation>
    </message>
    <message>
        <source>Supplied password not accepted. Check server settings</source>
        <translation>Das Passwort wurde nicht akzeptiert. Prüfen Sie die Servereinstellungen</translation>
    </message>
    <message>
        <source>Server settings changed</source>
        <translation>Servereinstellungen geändert</translation>
    </message>
    <message>
        <source>Last error: </source>
        <translation>Letzter Fehler: </translation>
    </message>
    <message>
        <source>, retrying in </source>
        <translation>, neuer Versuch in </translation>
    </message>
    <message numerus="yes">
        <source> seconds</source>
        <translation>
            <numerusform> Sekunde</numerusform>
            <numerusform> Sekunden</numerusform>
        </translation>
    </message>
    <message>
        <source>. Pausing downloads</source>
        <translation>. Downloads werden angehalten</translation>
    </message>
</context>
<context>
    <name>DebugDialog</name>
    <message>
        <source>Debug log</source>
        <translation>Diagnoseprotokoll</translation>
    </message>
    <message>
        <source>Use the program like you normally do. Debug messages will appear here:

</source>
        <translation>Benutzen Sie das Programm wie gewohnt. Diagnosemeldungen erscheinen hier:

</translation>
    </message>
</context>
<context>
    <name>DeleteDialog</name>
    <message>
        <source>Confirm delete</source>
        <translation>Löschen bestätigen</translation>
    </message>
    <message>
        <source>Remove item from list</source>
        <translation>Eintrag aus der Liste entfernen</translation>
    </message>
    <message>
        <source>+ Delete downloaded files from disk</source>
        <translation>+ Heruntergeladene Dateien löschen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>DesktopLink</name>
    <message>
        <source>%1 is complete</source>
        <translation>%1 ist fertig</translation>
    </message>
    <message>
        <source>%1 has failed: %2</source>
        <translation>%1 ist fehlgeschlagen: %2</translation>
    </message>
    <message>
        <source>%1 waits for a password</source>
        <translation>%1 wartet auf ein Passwort</translation>
    </message>
</context>
<context>
    <name>FileCombiner</name>
    <message>
        <source>Output filename &apos;%1&apos; already exists</source>
        <translation>Ausgabedatei „%1“ existiert bereits</translation>
    </message>
    <message>
        <source>Error opening output file &apos;%1&apos;</source>
        <translation>Fehler beim Öffnen der Ausgabedatei „%1“</translation>
    </message>
    <message>
        <source>Error opening file: </source>
        <translation>Fehler beim Öffnen der Datei: </translation>
    </message>
    <message>
        <source>Error reading from file: </source>
        <translation>Fehler beim Lesen der Datei: </translation>
    </message>
    <message>
        <source>Error writing to file: </source>
        <translation>Fehler beim Schreiben der Datei: </translation>
    </message>
</context>
<context>
    <name>JobArchives</name>
    <message>
        <source>Not unpacked: %1: %2</source>
        <translation>Nicht entpackt: %1: %2</translation>
    </message>
    <message>
        <source>Not unpacked: %1: not enough disk space</source>
        <translation>Nicht entpackt: %1: zu wenig Speicherplatz</translation>
    </message>
    <message>
        <source>Not unpacked: %1: wrong password</source>
        <translation>Nicht entpackt: %1: falsches Passwort</translation>
    </message>
</context>
<context>
    <name>JobWork</name>
    <message>
        <source>Damaged beyond repair</source>
        <translation>Nicht reparierbar</translation>
    </message>
    <message>
        <source>NZB complete: </source>
        <translation>NZB vollständig: </translation>
    </message>
    <message>
        <source>Repairing</source>
        <translation>Wird repariert</translation>
    </message>
    <message>
        <source>Damaged: par2 program not found</source>
        <translation>Beschädigt: Programm par2 nicht gefunden</translation>
    </message>
    <message>
        <source>Damaged: repair failed</source>
        <translation>Beschädigt: Reparatur fehlgeschlagen</translation>
    </message>
    <message>
        <source>Not unpacked: not enough disk space</source>
        <translation>Nicht entpackt: nicht genug Speicherplatz</translation>
    </message>
    <message>
        <source>Download complete, starting unrar</source>
        <translation>Download abgeschlossen, wird entpackt</translation>
    </message>
    <message>
        <source>Download complete, combining files</source>
        <translation>Download abgeschlossen, Dateien werden zusammengefügt</translation>
    </message>
    <message>
        <source>Error extracting RAR: %1</source>
        <translation>Fehler beim Entpacken von RAR: %1</translation>
    </message>
    <message>
        <source>Not unpacked: no password</source>
        <translation>Nicht entpackt: kein Passwort</translation>
    </message>
    <message>
        <source>Download complete, unpacking archives</source>
        <translation>Download abgeschlossen, Archive werden entpackt</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Download queue</source>
        <translation>Warteschlange der Downloads</translation>
    </message>
    <message>
        <source>Tool bar</source>
        <translation>Werkzeugleiste</translation>
    </message>
    <message>
        <source>Add NZB</source>
        <translation>NZB hinzufügen</translation>
    </message>
    <message>
        <source>Imports a NZB file</source>
        <translation>Importiert eine NZB-Datei</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Pauses download</source>
        <translation>Hält den Download an</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Deletes a download</source>
        <translation>Löscht einen Download</translation>
    </message>
    <message>
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Vorschau</translation>
    </message>
    <message>
        <source>Preview movie</source>
        <translation>Vorschau des Films</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source> --- GB free  </source>
        <translation> --- GB frei  </translation>
    </message>
    <message>
        <source>Free disk space</source>
        <translation>Freier Speicherplatz</translation>
    </message>
    <message>
        <source>  0.0 Mbit/s  </source>
        <translation>  0.0 Mbit/s  </translation>
    </message>
    <message>
        <source>  **d **h **m left </source>
        <translation>  noch **d **h **min </translation>
    </message>
    <message>
        <source>Time left</source>
        <translation>Verbleibende Zeit</translation>
    </message>
    <message>
        <source>Loading queue failed</source>
        <translation>Laden der Warteschlange fehlgeschlagen</translation>
    </message>
    <message>
        <source>There was an error loading the queue. Do you want to load the backup file?</source>
        <translation>Beim Laden der Warteschlange ist ein Fehler aufgetreten. Möchten Sie die Sicherungskopie laden?</translation>
    </message>
    <message>
        <source>Loading backup failed</source>
        <translation>Laden der Sicherungskopie fehlgeschlagen</translation>
    </message>
    <message>
        <source>Loading the backup failed as well :-( </source>
        <translation>Auch das Laden der Sicherungskopie ist fehlgeschlagen :-( </translation>
    </message>
    <message>
        <source>Error processing NZB</source>
        <translation>Fehler beim Verarbeiten der NZB-Datei</translation>
    </message>
    <message>
        <source>Select NZB file</source>
        <translation>NZB-Datei auswählen</translation>
    </message>
    <message>
        <source>NZB files (*.nzb)</source>
        <translation>NZB-Dateien (*.nzb)</translation>
    </message>
    <message>
        <source>Paused file</source>
        <translation>Angehalten</translation>
    </message>
    <message>
        <source>Resuming download</source>
        <translation>Download wird fortgesetzt</translation>
    </message>
    <message>
        <source>Deleted item</source>
        <translation>Eintrag gelöscht</translation>
    </message>
    <message>
        <source>Password protected RAR file</source>
        <translation>Passwortgeschützte RAR-Datei</translation>
    </message>
    <message>
        <source>Please enter the password of what you are downloading</source>
        <translation>Bitte geben Sie das Passwort für diesen Download ein</translation>
    </message>
    <message>
        <source>File is already being previewed</source>
        <translation>Für diese Datei läuft bereits eine Vorschau</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>  %1 Mbit/s  </source>
        <translation>  %1 Mbit/s  </translation>
    </message>
    <message>
        <source> %1d %2h %3m left  </source>
        <translation> noch %1d %2h %3min  </translation>
    </message>
    <message>
        <source>  %1 GB free  </source>
        <translation>  %1 GB frei  </translation>
    </message>
    <message>
        <source>Low disk space</source>
        <translation>Wenig Speicherplatz</translation>
    </message>
    <message>
        <source>Only %1 MB of disk space left. Suspending all downloads.</source>
        <translation>Nur noch %1 MB Speicherplatz frei. Alle Downloads werden angehalten.</translation>
    </message>
    <message>
        <source>More</source>
        <translation>Mehr</translation>
    </message>
    <message>
        <source>Repair and unpack</source>
        <translation>Reparieren und entpacken</translation>
    </message>
    <message>
        <source>Password protected ZIP file</source>
        <translation>Passwortgeschützte ZIP-Datei</translation>
    </message>
    <message>
        <source>Drop NZB files here, or press Add NZB</source>
        <translation>Ziehen Sie NZB-Dateien hierher, oder drücken Sie NZB hinzufügen</translation>
    </message>
    <message>
        <source>To download them, a news server is needed: press Settings</source>
        <translation>Zum Herunterladen fehlt noch ein Newsserver: drücken Sie Einstellungen</translation>
    </message>
    <message numerus="yes">
        <source>Deleted %n items</source>
        <translation>
            <numerusform>%n Eintrag gelöscht</numerusform>
            <numerusform>%n Einträge gelöscht</numerusform>
        </translation>
    </message>
    <message>
        <source>There is no program to open %1</source>
        <translation>Es gibt kein Programm, das %1 öffnet</translation>
    </message>
</context>
<context>
    <name>Marlowick</name>
    <message>
        <source>Error creating the settings folder &apos;%1&apos;. Settings and queue cannot be saved.</source>
        <translation>Fehler beim Anlegen des Einstellungsordners „%1“. Einstellungen und Warteschlange können nicht gespeichert werden.</translation>
    </message>
    <message>
        <source>Error saving queue file</source>
        <translation>Fehler beim Speichern der Warteschlange</translation>
    </message>
    <message>
        <source>Error loading queue file</source>
        <translation>Fehler beim Laden der Warteschlange</translation>
    </message>
    <message>
        <source>Error parsing queue file</source>
        <translation>Die Datei der Warteschlange ist fehlerhaft</translation>
    </message>
    <message>
        <source>The speed limit could not be saved. It holds until the program ends.</source>
        <translation>Die Begrenzung der Geschwindigkeit konnte nicht gespeichert werden und gilt bis zum Ende des Programms.</translation>
    </message>
</context>
<context>
    <name>NNTP</name>
    <message>
        <source>The server sent a line without an end</source>
        <translation>Der Server hat eine Zeile ohne Ende gesendet</translation>
    </message>
    <message>
        <source>SSL verification error</source>
        <translation>Fehler bei der SSL-Prüfung</translation>
    </message>
    <message>
        <source>.&lt;p&gt;This could mean something bad, like a man-in-the-middle attack.&lt;p&gt;However it is more likely that your provider forgot to install a proper SSL certificate issued by a &apos;real&apos; Certificate Authority on their Usenet server. Contact them to have this fixed!</source>
        <translation>.&lt;p&gt;Das kann etwas Schlimmes bedeuten, etwa einen Man-in-the-Middle-Angriff.&lt;p&gt;Wahrscheinlicher ist jedoch, dass Ihr Anbieter vergessen hat, auf seinem Usenet-Server ein ordentliches SSL-Zertifikat einer „echten“ Zertifizierungsstelle zu installieren. Bitten Sie ihn, das zu beheben!</translation>
    </message>
    <message>
        <source>: You entered hostname &apos;%1&apos; but the server&apos;s SSL certificate is only valid for &apos;%2&apos;</source>
        <translation>: Sie haben den Hostnamen „%1“ eingegeben, aber das SSL-Zertifikat des Servers gilt nur für „%2“</translation>
    </message>
    <message>
        <source>The server sent more than it was asked for</source>
        <translation>Der Server hat mehr gesendet, als angefordert war</translation>
    </message>
    <message>
        <source>The server sent an article without an end</source>
        <translation>Der Server hat einen Artikel ohne Ende gesendet</translation>
    </message>
</context>
<context>
    <name>Notifier</name>
    <message numerus="yes">
        <source>and %n more</source>
        <translation>
            <numerusform>und %n weiterer</numerusform>
            <numerusform>und %n weitere</numerusform>
        </translation>
    </message>
    <message>
        <source>Show</source>
        <translation>Anzeigen</translation>
    </message>
</context>
<context>
    <name>Nzb</name>
    <message>
        <source>Finished</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source> incomplete</source>
        <translation> (unvollständig)</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>Angehalten</translation>
    </message>
    <message>
        <source>Error opening NZB for reading</source>
        <translation>Die NZB-Datei kann nicht gelesen werden</translation>
    </message>
    <message>
        <source>Error parsing NZB</source>
        <translation>Die NZB-Datei ist fehlerhaft</translation>
    </message>
</context>
<context>
    <name>NzbFile</name>
    <message>
        <source>-empty file-</source>
        <translation>-leere Datei-</translation>
    </message>
    <message>
        <source>Finished</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source> incomplete</source>
        <translation> (unvollständig)</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>Angehalten</translation>
    </message>
    <message>
        <source>Queued</source>
        <translation>Wartet</translation>
    </message>
</context>
<context>
    <name>NzbModel</name>
    <message>
        <source> B</source>
        <translation> B</translation>
    </message>
    <message>
        <source> KB</source>
        <translation> KB</translation>
    </message>
    <message>
        <source> MB</source>
        <translation> MB</translation>
    </message>
    <message>
        <source> GB</source>
        <translation> GB</translation>
    </message>
    <message>
        <source> TB</source>
        <translation> TB</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Status</translation>
    </message>
</context>
<context>
    <name>Par2Process</name>
    <message>
        <source>Cannot find par2 executable</source>
        <translation>Das Programm par2 wurde nicht gefunden</translation>
    </message>
</context>
<context>
    <name>PostProcessor</name>
    <message>
        <source>File download complete: </source>
        <translation>Datei vollständig heruntergeladen: </translation>
    </message>
    <message>
        <source>RAR processing suspended. Not enough disk space to extract %1 MB file</source>
        <translation>Entpacken von RAR unterbrochen. Zu wenig Speicherplatz für eine Datei von %1 MB</translation>
    </message>
    <message>
        <source>Archive not unpacked. Not enough disk space to extract %1 MB file</source>
        <translation>Archiv nicht entpackt. Zu wenig Speicherplatz für eine Datei von %1 MB</translation>
    </message>
    <message>
        <source>Articles are missing</source>
        <translation>Artikel fehlen</translation>
    </message>
</context>
<context>
    <name>RowCommands</name>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>There is no program to open %1</source>
        <translation>Es gibt kein Programm, das %1 öffnet</translation>
    </message>
    <message>
        <source>%1 is no longer on the disk</source>
        <translation>%1 ist nicht mehr auf der Festplatte</translation>
    </message>
    <message>
        <source>Open folder</source>
        <translation>Ordner öffnen</translation>
    </message>
</context>
<context>
    <name>RowMenu</name>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Open folder</source>
        <translation>Ordner öffnen</translation>
    </message>
    <message>
        <source>Move to top</source>
        <translation>Ganz nach oben</translation>
    </message>
    <message>
        <source>Move up</source>
        <translation>Nach oben</translation>
    </message>
    <message>
        <source>Move down</source>
        <translation>Nach unten</translation>
    </message>
    <message>
        <source>Move to bottom</source>
        <translation>Ganz nach unten</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Fortsetzen</translation>
    </message>
    <message>
        <source>Pause all</source>
        <translation>Alle anhalten</translation>
    </message>
    <message>
        <source>Resume all</source>
        <translation>Alle fortsetzen</translation>
    </message>
    <message>
        <source>Copy name</source>
        <translation>Namen kopieren</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>NNTP Server</source>
        <translation>NNTP-Server</translation>
    </message>
    <message>
        <source>Hostname:</source>
        <translation>Hostname:</translation>
    </message>
    <message>
        <source>Username:</source>
        <translation>Benutzername:</translation>
    </message>
    <message>
        <source>Password:</source>
        <translation>Passwort:</translation>
    </message>
    <message>
        <source>Does the server supports SSL encryption?</source>
        <translation>Unterstützt der Server SSL-Verschlüsselung?</translation>
    </message>
    <message>
        <source>Yes, on port 443 (evades traffic shaping)</source>
        <translation>Ja, an Port 443 (umgeht Drosselung)</translation>
    </message>
    <message>
        <source>Yes, on official port 563 </source>
        <translation>Ja, am offiziellen Port 563 </translation>
    </message>
    <message>
        <source>No</source>
        <translation>Nein</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Erweitert</translation>
    </message>
    <message>
        <source>Maximum number of connections to server</source>
        <translation>Höchstzahl der Verbindungen zum Server</translation>
    </message>
    <message>
        <source>Automatically repair downloads (using par2)</source>
        <translation>Downloads automatisch reparieren (mit par2)</translation>
    </message>
    <message>
        <source>Only download PAR2 repair blocks if post is incomplete</source>
        <translation>PAR2-Blöcke nur laden, wenn das Posting unvollständig ist</translation>
    </message>
    <message>
        <source>Remove files from download list when finished</source>
        <translation>Fertige Downloads aus der Liste entfernen</translation>
    </message>
    <message>
        <source>RAR handling</source>
        <translation>RAR-Archive</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Nicht entpacken</translation>
    </message>
    <message>
        <source>Start extracting while you download</source>
        <translation>Schon während des Downloads entpacken</translation>
    </message>
    <message>
        <source>Extract after download+repair</source>
        <translation>Nach Download und Reparatur entpacken</translation>
    </message>
    <message>
        <source>Download folder:</source>
        <translation>Download-Ordner:</translation>
    </message>
    <message>
        <source>Browse for the download folder</source>
        <translation>Download-Ordner auswählen</translation>
    </message>
    <message>
        <source>..</source>
        <translation>..</translation>
    </message>
    <message>
        <source>Media player:</source>
        <translation>Mediaplayer:</translation>
    </message>
    <message>
        <source>Browse for the media player</source>
        <translation>Mediaplayer auswählen</translation>
    </message>
    <message>
        <source>Parameters:</source>
        <translation>Parameter:</translation>
    </message>
    <message>
        <source>Network time-out:</source>
        <translation>Zeitüberschreitung nach:</translation>
    </message>
    <message>
        <source>Retry after waiting:</source>
        <translation>Neuer Versuch nach:</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Über</translation>
    </message>
    <message>
        <source>Marlowick version: </source>
        <translation>Marlowick-Version: </translation>
    </message>
    <message>
        <source>QT version: </source>
        <translation>QT-Version: </translation>
    </message>
    <message>
        <source>Icons: the Marlowick authors</source>
        <translation>Symbole: die Autoren von Marlowick</translation>
    </message>
    <message>
        <source>Copyright: the Marlowick authors (MIT license)</source>
        <translation>Copyright: die Autoren von Marlowick (MIT-Lizenz)</translation>
    </message>
    <message>
        <source>Troubleshooting</source>
        <translation>Fehlersuche</translation>
    </message>
    <message>
        <source>Open debugging window</source>
        <translation>Diagnosefenster öffnen</translation>
    </message>
    <message>
        <source>Report bug</source>
        <translation>Fehler melden</translation>
    </message>
    <message>
        <source>Testing server settings</source>
        <translation>Servereinstellungen werden geprüft</translation>
    </message>
    <message numerus="yes">
        <source>seconds</source>
        <comment>behind a number</comment>
        <translation>
            <numerusform>Sekunde</numerusform>
            <numerusform>Sekunden</numerusform>
        </translation>
    </message>
    <message>
        <source>Access error</source>
        <translation>Zugriffsfehler</translation>
    </message>
    <message>
        <source>Error writing settings. Check file permissions.</source>
        <translation>Fehler beim Schreiben der Einstellungen. Prüfen Sie die Dateirechte.</translation>
    </message>
    <message>
        <source>Hostname required</source>
        <translation>Hostname erforderlich</translation>
    </message>
    <message>
        <source>Please enter the hostname of your Usenet server</source>
        <translation>Bitte geben Sie den Hostnamen Ihres Usenet-Servers ein</translation>
    </message>
    <message>
        <source>Username?</source>
        <translation>Benutzername?</translation>
    </message>
    <message>
        <source>You entered a password, but left username empty. Please enter a username if your server requires authentication, or leave both username and password blank</source>
        <translation>Sie haben ein Passwort, aber keinen Benutzernamen eingegeben. Bitte geben Sie einen Benutzernamen ein, wenn Ihr Server eine Anmeldung verlangt, oder lassen Sie beide Felder leer</translation>
    </message>
    <message>
        <source>Download folder does not exist</source>
        <translation>Download-Ordner existiert nicht</translation>
    </message>
    <message>
        <source>The folder you specified does not exists</source>
        <translation>Der angegebene Ordner existiert nicht</translation>
    </message>
    <message>
        <source>Media player does not exist</source>
        <translation>Mediaplayer existiert nicht</translation>
    </message>
    <message>
        <source>Please specify the location of your media player, or leave blank</source>
        <translation>Bitte geben Sie an, wo Ihr Mediaplayer liegt, oder lassen Sie das Feld leer</translation>
    </message>
    <message>
        <source>Select download folder</source>
        <translation>Download-Ordner auswählen</translation>
    </message>
    <message>
        <source>Network time-out</source>
        <translation>Zeitüberschreitung im Netzwerk</translation>
    </message>
    <message>
        <source>Check server settings</source>
        <translation>Prüfen Sie die Servereinstellungen</translation>
    </message>
</context>
<context>
    <name>SleepInhibitor</name>
    <message>
        <source>A download is under way</source>
        <translation>Ein Download läuft</translation>
    </message>
</context>
<context>
    <name>SpeedField</name>
    <message>
        <source>%1 MB/s</source>
        <translation>%1 MB/s</translation>
    </message>
    <message>
        <source>%1 KB/s</source>
        <translation>%1 KB/s</translation>
    </message>
    <message>
        <source>Download speed</source>
        <translation>Geschwindigkeit des Downloads</translation>
    </message>
    <message>
        <source>Download speed. Click to limit it.</source>
        <translation>Geschwindigkeit des Downloads. Klicken Sie, um sie zu begrenzen.</translation>
    </message>
    <message>
        <source>%1(limit %2)  </source>
        <translation>%1(Grenze %2)  </translation>
    </message>
    <message>
        <source>No limit</source>
        <translation>Keine Grenze</translation>
    </message>
    <message>
        <source>Other...</source>
        <translation>Andere...</translation>
    </message>
    <message>
        <source>Speed limit</source>
        <translation>Grenze der Geschwindigkeit</translation>
    </message>
    <message>
        <source>Limit in KB/s (1024 KB/s are 1 MB/s):</source>
        <translation>Grenze in KB/s (1024 KB/s sind 1 MB/s):</translation>
    </message>
</context>
<context>
    <name>YencDecoder</name>
    <message>
        <source>Error seeking file</source>
        <translation>Fehler beim Positionieren in der Datei</translation>
    </message>
    <message>
        <source>Error opening file: </source>
        <translation>Fehler beim Öffnen der Datei: </translation>
    </message>
    <message>
        <source>the name leads out of its folder</source>
        <translation>der Name führt aus seinem Ordner heraus</translation>
    </message>
    <message>
        <source>Error writing to file. Check disk space</source>
        <translation>Fehler beim Schreiben der Datei. Prüfen Sie den Speicherplatz</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>%1 does not exist</source>
        <translation>%1 gibt es nicht</translation>
    </message>
    <message>
        <source>The Marlowick that is running did not take %1</source>
        <translation>Das laufende Marlowick hat %1 nicht angenommen</translation>
    </message>
</context>
</TS>
