<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="nl" sourcelanguage="en">
<context>
    <name>ArchiveUnpacker</name>
    <message>
        <source>encrypted 7z archives cannot be read</source>
        <translation>versleutelde 7z-archieven kunnen niet worden gelezen</translation>
    </message>
    <message>
        <source>the archive is damaged</source>
        <translation>het archief is beschadigd</translation>
    </message>
    <message>
        <source>members that are links or have forbidden names</source>
        <translation>onderdelen die koppelingen zijn of niet-toegestane namen hebben</translation>
    </message>
</context>
<context>
    <name>ConnectionPool</name>
    <message>
        <source>Connecting to server...</source>
        <translation>Verbinden met de server...</translation>
    </message>
    <message>
        <source>Connected (%1)</source>
        <translation>Verbonden (%1)</translation>
    </message>
    <message>
        <source>Server asks for password. Please specify password in &apos;settings&apos; window.</source>
        <translation>De server vraagt om een wachtwoord. Geef het op in het venster ‘Instellingen’.</translation>
    </message>
    <message>
        <source>Supplied password not accepted. Check server settings</source>
        <translation>Het wachtwoord is niet geaccepteerd. Controleer de serverinstellingen</translation>
    </message>
    <message>
        <source>Server settings changed</source>
        <translation>Serverinstellingen gewijzigd</translation>
    </message>
    <message>
        <source>Last error: </source>
        <translation>Laatste fout: </translation>
    </message>
    <message>
        <source>, retrying in </source>
        <translation>, nieuwe poging over </translation>
    </message>
    <message numerus="yes">
        <source> seconds</source>
        <translation>
            <numerusform> seconde</numerusform>
            <numerusform> seconden</numerusform>
        </translation>
    </message>
    <message>
        <source>. Pausing downloads</source>
        <translation>. Downloads worden gepauzeerd</translation>
    </message>
</context>
<context>
    <name>DebugDialog</name>
    <message>
        <source>Debug log</source>
        <translation>Foutopsporingslogboek</translation>
    </message>
    <message>
        <source>Use the program like you normally do. Debug messages will appear here:

</source>
        <translation>Gebruik het programma zoals u gewend bent. Foutopsporingsmeldingen verschijnen hier:

</translation>
    </message>
</context>
<context>
    <name>DeleteDialog</name>
    <message>
        <source>Confirm delete</source>
        <translation>Verwijderen bevestigen</translation>
    </message>
    <message>
        <source>Remove item from list</source>
        <translation>Item uit de lijst verwijderen</translation>
    </message>
    <message>
        <source>+ Delete downloaded files from disk</source>
        <translation>+ Gedownloade bestanden wissen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuleren</translation>
    </message>
</context>
<context>
    <name>DesktopLink</name>
    <message>
        <source>%1 is complete</source>
        <translation>%1 is klaar</translation>
    </message>
    <message>
        <source>%1 has failed: %2</source>
        <translation>%1 is mislukt: %2</translation>
    </message>
    <message>
        <source>%1 waits for a password</source>
        <translation>%1 wacht op een wachtwoord</translation>
    </message>
</context>
<context>
    <name>FileCombiner</name>
    <message>
        <source>Output filename &apos;%1&apos; already exists</source>
        <translation>Uitvoerbestand ‘%1’ bestaat al</translation>
    </message>
    <message>
        <source>Error opening output file &apos;%1&apos;</source>
        <translation>Fout bij het openen van uitvoerbestand ‘%1’</translation>
    </message>
    <message>
        <source>Error opening file: </source>
        <translation>Fout bij het openen van bestand: </translation>
    </message>
    <message>
        <source>Error reading from file: </source>
        <translation>Fout bij het lezen van bestand: </translation>
    </message>
    <message>
        <source>Error writing to file: </source>
        <translation>Fout bij het schrijven naar bestand: </translation>
    </message>
</context>
<context>
    <name>JobArchives</name>
    <message>
        <source>Not unpacked: %1: %2</source>
        <translation>Niet uitgepakt: %1: %2</translation>
    </message>
    <message>
        <source>Not unpacked: %1: not enough disk space</source>
        <translation>Niet uitgepakt: %1: te weinig schijfruimte</translation>
    </message>
    <message>
        <source>Not unpacked: %1: wrong password</source>
        <translation>Niet uitgepakt: %1: onjuist wachtwoord</translation>
    </message>
</context>
<context>
    <name>JobWork</name>
    <message>
        <source>Damaged beyond repair</source>
        <translation>Niet te repareren</translation>
    </message>
    <message>
        <source>NZB complete: </source>
        <translation>NZB voltooid: </translation>
    </message>
    <message>
        <source>Repairing</source>
        <translation>Wordt gerepareerd</translation>
    </message>
    <message>
        <source>Damaged: par2 program not found</source>
        <translation>Beschadigd: programma par2 niet gevonden</translation>
    </message>
    <message>
        <source>Damaged: repair failed</source>
        <translation>Beschadigd: reparatie mislukt</translation>
    </message>
    <message>
        <source>Not unpacked: not enough disk space</source>
        <translation>Niet uitgepakt: onvoldoende schijfruimte</translation>
    </message>
    <message>
        <source>Download complete, starting unrar</source>
        <translation>Download voltooid, wordt uitgepakt</translation>
    </message>
    <message>
        <source>Download complete, combining files</source>
        <translation>Download voltooid, bestanden worden samengevoegd</translation>
    </message>
    <message>
        <source>Error extracting RAR: %1</source>
        <translation>Fout bij het uitpakken van RAR: %1</translation>
    </message>
    <message>
        <source>Not unpacked: no password</source>
        <translation>Niet uitgepakt: geen wachtwoord</translation>
    </message>
    <message>
        <source>Download complete, unpacking archives</source>
        <translation>Download voltooid, archieven worden uitgepakt</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Download queue</source>
        <translation>Downloadwachtrij</translation>
    </message>
    <message>
        <source>Tool bar</source>
        <translation>Werkbalk</translation>
    </message>
    <message>
        <source>Add NZB</source>
        <translation>NZB toevoegen</translation>
    </message>
    <message>
        <source>Imports a NZB file</source>
        <translation>Importeert een NZB-bestand</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pauzeren</translation>
    </message>
    <message>
        <source>Pauses download</source>
        <translation>Pauzeert de download</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Verwijderen</translation>
    </message>
    <message>
        <source>Deletes a download</source>
        <translation>Verwijdert een download</translation>
    </message>
    <message>
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Voorbeeld</translation>
    </message>
    <message>
        <source>Preview movie</source>
        <translation>Voorbeeld van de film</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Instellingen</translation>
    </message>
    <message>
        <source> --- GB free  </source>
        <translation> --- GB vrij  </translation>
    </message>
    <message>
        <source>Free disk space</source>
        <translation>Vrije schijfruimte</translation>
    </message>
    <message>
        <source>  0.0 Mbit/s  </source>
        <translation>  0.0 Mbit/s  </translation>
    </message>
    <message>
        <source>  **d **h **m left </source>
        <translation>  nog **d **u **min </translation>
    </message>
    <message>
        <source>Time left</source>
        <translation>Resterende tijd</translation>
    </message>
    <message>
        <source>Loading queue failed</source>
        <translation>Laden van de wachtrij mislukt</translation>
    </message>
    <message>
        <source>There was an error loading the queue. Do you want to load the backup file?</source>
        <translation>Er is een fout opgetreden bij het laden van de wachtrij. Wilt u de reservekopie laden?</translation>
    </message>
    <message>
        <source>Loading backup failed</source>
        <translation>Laden van de reservekopie mislukt</translation>
    </message>
    <message>
        <source>Loading the backup failed as well :-( </source>
        <translation>Ook het laden van de reservekopie is mislukt :-( </translation>
    </message>
    <message>
        <source>Error processing NZB</source>
        <translation>Fout bij het verwerken van de NZB</translation>
    </message>
    <message>
        <source>Select NZB file</source>
        <translation>NZB-bestand kiezen</translation>
    </message>
    <message>
        <source>NZB files (*.nzb)</source>
        <translation>NZB-bestanden (*.nzb)</translation>
    </message>
    <message>
        <source>Paused file</source>
        <translation>Download gepauzeerd</translation>
    </message>
    <message>
        <source>Resuming download</source>
        <translation>Download wordt hervat</translation>
    </message>
    <message>
        <source>Deleted item</source>
        <translation>Item verwijderd</translation>
    </message>
    <message>
        <source>Password protected RAR file</source>
        <translation>RAR-bestand met wachtwoord</translation>
    </message>
    <message>
        <source>Please enter the password of what you are downloading</source>
        <translation>Voer het wachtwoord van deze download in</translation>
    </message>
    <message>
        <source>File is already being previewed</source>
        <translation>Van dit bestand wordt al een voorbeeld getoond</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fout</translation>
    </message>
    <message>
        <source>  %1 Mbit/s  </source>
        <translation>  %1 Mbit/s  </translation>
    </message>
    <message>
        <source> %1d %2h %3m left  </source>
        <translation> nog %1d %2u %3min  </translation>
    </message>
    <message>
        <source>  %1 GB free  </source>
        <translation>  %1 GB vrij  </translation>
    </message>
    <message>
        <source>Low disk space</source>
        <translation>Weinig schijfruimte</translation>
    </message>
    <message>
        <source>Only %1 MB of disk space left. Suspending all downloads.</source>
        <translation>Nog maar %1 MB schijfruimte over. Alle downloads worden gepauzeerd.</translation>
    </message>
    <message>
        <source>More</source>
        <translation>Meer</translation>
    </message>
    <message>
        <source>Repair and unpack</source>
        <translation>Herstellen en uitpakken</translation>
    </message>
    <message>
        <source>Password protected ZIP file</source>
        <translation>ZIP-bestand met wachtwoord</translation>
    </message>
    <message>
        <source>Drop NZB files here, or press Add NZB</source>
        <translation>Sleep NZB-bestanden hierheen, of druk op NZB toevoegen</translation>
    </message>
    <message>
        <source>To download them, a news server is needed: press Settings</source>
        <translation>Om ze te downloaden is een nieuwsserver nodig: druk op Instellingen</translation>
    </message>
    <message numerus="yes">
        <source>Deleted %n items</source>
        <translation>
            <numerusform>%n item verwijderd</numerusform>
            <numerusform>%n items verwijderd</numerusform>
        </translation>
    </message>
    <message>
        <source>There is no program to open %1</source>
        <translation>Er is geen programma om %1 te openen</translation>
    </message>
</context>
<context>
    <name>Marlowick</name>
    <message>
        <source>Error creating the settings folder &apos;%1&apos;. Settings and queue cannot be saved.</source>
        <translation>Fout bij het aanmaken van de instellingenmap ‘%1’. Instellingen en wachtrij kunnen niet worden opgeslagen.</translation>
    </message>
    <message>
        <source>Error saving queue file</source>
        <translation>Fout bij het opslaan van de wachtrij</translation>
    </message>
    <message>
        <source>Error loading queue file</source>
        <translation>Fout bij het laden van de wachtrij</translation>
    </message>
    <message>
        <source>Error parsing queue file</source>
        <translation>Het bestand van de wachtrij is ongeldig</translation>
    </message>
    <message>
        <source>The speed limit could not be saved. It holds until the program ends.</source>
        <translation>De snelheidslimiet kon niet worden opgeslagen en geldt tot het programma eindigt.</translation>
    </message>
</context>
<context>
    <name>NNTP</name>
    <message>
        <source>The server sent a line without an end</source>
        <translation>De server stuurde een regel zonder einde</translation>
    </message>
    <message>
        <source>SSL verification error</source>
        <translation>Fout bij de SSL-controle</translation>
    </message>
    <message>
        <source>.&lt;p&gt;This could mean something bad, like a man-in-the-middle attack.&lt;p&gt;However it is more likely that your provider forgot to install a proper SSL certificate issued by a &apos;real&apos; Certificate Authority on their Usenet server. Contact them to have this fixed!</source>
        <translation>.&lt;p&gt;Dit kan iets ernstigs betekenen, zoals een man-in-the-middle-aanval.&lt;p&gt;Waarschijnlijker is echter dat uw provider vergeten is op zijn Usenet-server een goed SSL-certificaat van een ‘echte’ certificeringsinstantie te installeren. Vraag hem dit te verhelpen!</translation>
    </message>
    <message>
        <source>: You entered hostname &apos;%1&apos; but the server&apos;s SSL certificate is only valid for &apos;%2&apos;</source>
        <translation>: u hebt hostnaam ‘%1’ ingevoerd, maar het SSL-certificaat van de server geldt alleen voor ‘%2’</translation>
    </message>
    <message>
        <source>The server sent more than it was asked for</source>
        <translation>De server stuurde meer dan er gevraagd was</translation>
    </message>
    <message>
        <source>The server sent an article without an end</source>
        <translation>De server stuurde een artikel zonder einde</translation>
    </message>
</context>
<context>
    <name>Notifier</name>
    <message numerus="yes">
        <source>and %n more</source>
        <translation>
            <numerusform>en nog %n</numerusform>
            <numerusform>en nog %n</numerusform>
        </translation>
    </message>
    <message>
        <source>Show</source>
        <translation>Tonen</translation>
    </message>
</context>
<context>
    <name>Nzb</name>
    <message>
        <source>Finished</source>
        <translation>Voltooid</translation>
    </message>
    <message>
        <source> incomplete</source>
        <translation> (onvolledig)</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>Gepauzeerd</translation>
    </message>
    <message>
        <source>Error opening NZB for reading</source>
        <translation>Fout bij het openen van de NZB om te lezen</translation>
    </message>
    <message>
        <source>Error parsing NZB</source>
        <translation>De NZB is ongeldig</translation>
    </message>
</context>
<context>
    <name>NzbFile</name>
    <message>
        <source>-empty file-</source>
        <translation>-leeg bestand-</translation>
    </message>
    <message>
        <source>Finished</source>
        <translation>Voltooid</translation>
    </message>
    <message>
        <source> incomplete</source>
        <translation> (onvolledig)</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>Gepauzeerd</translation>
    </message>
    <message>
        <source>Queued</source>
        <translation>In wachtrij</translation>
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
        <translation>Bestand</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Grootte</translation>
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
        <translation>Het programma par2 is niet gevonden</translation>
    </message>
</context>
<context>
    <name>PostProcessor</name>
    <message>
        <source>File download complete: </source>
        <translation>Bestand gedownload: </translation>
    </message>
    <message>
        <source>RAR processing suspended. Not enough disk space to extract %1 MB file</source>
        <translation>Uitpakken van RAR onderbroken. Te weinig schijfruimte voor een bestand van %1 MB</translation>
    </message>
    <message>
        <source>Archive not unpacked. Not enough disk space to extract %1 MB file</source>
        <translation>Archief niet uitgepakt. Te weinig schijfruimte voor een bestand van %1 MB</translation>
    </message>
    <message>
        <source>Articles are missing</source>
        <translation>Er ontbreken artikelen</translation>
    </message>
</context>
<context>
    <name>RowCommands</name>
    <message>
        <source>Open</source>
        <translation>Openen</translation>
    </message>
    <message>
        <source>There is no program to open %1</source>
        <translation>Er is geen programma om %1 te openen</translation>
    </message>
    <message>
        <source>%1 is no longer on the disk</source>
        <translation>%1 staat niet meer op de schijf</translation>
    </message>
    <message>
        <source>Open folder</source>
        <translation>Map openen</translation>
    </message>
</context>
<context>
    <name>RowMenu</name>
    <message>
        <source>Open</source>
        <translation>Openen</translation>
    </message>
    <message>
        <source>Open folder</source>
        <translation>Map openen</translation>
    </message>
    <message>
        <source>Move to top</source>
        <translation>Naar boven</translation>
    </message>
    <message>
        <source>Move up</source>
        <translation>Omhoog</translation>
    </message>
    <message>
        <source>Move down</source>
        <translation>Omlaag</translation>
    </message>
    <message>
        <source>Move to bottom</source>
        <translation>Naar onderen</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pauzeren</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Hervatten</translation>
    </message>
    <message>
        <source>Pause all</source>
        <translation>Alles pauzeren</translation>
    </message>
    <message>
        <source>Resume all</source>
        <translation>Alles hervatten</translation>
    </message>
    <message>
        <source>Copy name</source>
        <translation>Naam kopiëren</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>Settings</source>
        <translation>Instellingen</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>NNTP Server</source>
        <translation>NNTP-server</translation>
    </message>
    <message>
        <source>Hostname:</source>
        <translation>Hostnaam:</translation>
    </message>
    <message>
        <source>Username:</source>
        <translation>Gebruikersnaam:</translation>
    </message>
    <message>
        <source>Password:</source>
        <translation>Wachtwoord:</translation>
    </message>
    <message>
        <source>Does the server supports SSL encryption?</source>
        <translation>Ondersteunt de server SSL-versleuteling?</translation>
    </message>
    <message>
        <source>Yes, on port 443 (evades traffic shaping)</source>
        <translation>Ja, op poort 443 (omzeilt traffic shaping)</translation>
    </message>
    <message>
        <source>Yes, on official port 563 </source>
        <translation>Ja, op de officiële poort 563 </translation>
    </message>
    <message>
        <source>No</source>
        <translation>Nee</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Geavanceerd</translation>
    </message>
    <message>
        <source>Maximum number of connections to server</source>
        <translation>Maximumaantal verbindingen met de server</translation>
    </message>
    <message>
        <source>Automatically repair downloads (using par2)</source>
        <translation>Downloads automatisch repareren (met par2)</translation>
    </message>
    <message>
        <source>Only download PAR2 repair blocks if post is incomplete</source>
        <translation>PAR2-blokken alleen downloaden als de post onvolledig is</translation>
    </message>
    <message>
        <source>Remove files from download list when finished</source>
        <translation>Voltooide downloads uit de lijst verwijderen</translation>
    </message>
    <message>
        <source>RAR handling</source>
        <translation>RAR-archieven</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Niet uitpakken</translation>
    </message>
    <message>
        <source>Start extracting while you download</source>
        <translation>Al tijdens het downloaden uitpakken</translation>
    </message>
    <message>
        <source>Extract after download+repair</source>
        <translation>Na downloaden en repareren uitpakken</translation>
    </message>
    <message>
        <source>Download folder:</source>
        <translation>Downloadmap:</translation>
    </message>
    <message>
        <source>Browse for the download folder</source>
        <translation>Bladeren naar de downloadmap</translation>
    </message>
    <message>
        <source>..</source>
        <translation>..</translation>
    </message>
    <message>
        <source>Media player:</source>
        <translation>Mediaspeler:</translation>
    </message>
    <message>
        <source>Browse for the media player</source>
        <translation>Bladeren naar de mediaspeler</translation>
    </message>
    <message>
        <source>Parameters:</source>
        <translation>Parameters:</translation>
    </message>
    <message>
        <source>Network time-out:</source>
        <translation>Time-out van het netwerk:</translation>
    </message>
    <message>
        <source>Retry after waiting:</source>
        <translation>Opnieuw proberen na:</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Ondersteuning</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Over</translation>
    </message>
    <message>
        <source>Marlowick version: </source>
        <translation>Versie van Marlowick: </translation>
    </message>
    <message>
        <source>QT version: </source>
        <translation>Versie van QT: </translation>
    </message>
    <message>
        <source>Icons: the Marlowick authors</source>
        <translation>Pictogrammen: de auteurs van Marlowick</translation>
    </message>
    <message>
        <source>Copyright: the Marlowick authors (MIT license)</source>
        <translation>Copyright: de auteurs van Marlowick (MIT-licentie)</translation>
    </message>
    <message>
        <source>Troubleshooting</source>
        <translation>Problemen oplossen</translation>
    </message>
    <message>
        <source>Open debugging window</source>
        <translation>Foutopsporingsvenster openen</translation>
    </message>
    <message>
        <source>Report bug</source>
        <translation>Fout melden</translation>
    </message>
    <message>
        <source>Testing server settings</source>
        <translation>Serverinstellingen worden getest</translation>
    </message>
    <message numerus="yes">
        <source>seconds</source>
        <comment>behind a number</comment>
        <translation>
            <numerusform>seconde</numerusform>
            <numerusform>seconden</numerusform>
        </translation>
    </message>
    <message>
        <source>Access error</source>
        <translation>Toegangsfout</translation>
    </message>
    <message>
        <source>Error writing settings. Check file permissions.</source>
        <translation>Fout bij het schrijven van de instellingen. Controleer de bestandsrechten.</translation>
    </message>
    <message>
        <source>Hostname required</source>
        <translation>Hostnaam vereist</translation>
    </message>
    <message>
        <source>Please enter the hostname of your Usenet server</source>
        <translation>Voer de hostnaam van uw Usenet-server in</translation>
    </message>
    <message>
        <source>Username?</source>
        <translation>Gebruikersnaam?</translation>
    </message>
    <message>
        <source>You entered a password, but left username empty. Please enter a username if your server requires authentication, or leave both username and password blank</source>
        <translation>U hebt een wachtwoord ingevoerd, maar geen gebruikersnaam. Voer een gebruikersnaam in als uw server om aanmelding vraagt, of laat beide velden leeg</translation>
    </message>
    <message>
        <source>Download folder does not exist</source>
        <translation>Downloadmap bestaat niet</translation>
    </message>
    <message>
        <source>The folder you specified does not exists</source>
        <translation>De opgegeven map bestaat niet</translation>
    </message>
    <message>
        <source>Media player does not exist</source>
        <translation>Mediaspeler bestaat niet</translation>
    </message>
    <message>
        <source>Please specify the location of your media player, or leave blank</source>
        <translation>Geef de locatie van uw mediaspeler op, of laat het veld leeg</translation>
    </message>
    <message>
        <source>Select download folder</source>
        <translation>Downloadmap kiezen</translation>
    </message>
    <message>
        <source>Network time-out</source>
        <translation>Time-out van het netwerk</translation>
    </message>
    <message>
        <source>Check server settings</source>
        <translation>Controleer de serverinstellingen</translation>
    </message>
</context>
<context>
    <name>SleepInhibitor</name>
    <message>
        <source>A download is under way</source>
        <translation>Er loopt een download</translation>
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
        <translation>Downloadsnelheid</translation>
    </message>
    <message>
        <source>Download speed. Click to limit it.</source>
        <translation>Downloadsnelheid. Klik om deze te beperken.</translation>
    </message>
    <message>
        <source>%1(limit %2)  </source>
        <translation>%1(limiet %2)  </translation>
    </message>
    <message>
        <source>No limit</source>
        <translation>Geen limiet</translation>
    </message>
    <message>
        <source>Other...</source>
        <translation>Andere...</translation>
    </message>
    <message>
        <source>Speed limit</source>
        <translation>Snelheidslimiet</translation>
    </message>
    <message>
        <source>Limit in KB/s (1024 KB/s are 1 MB/s):</source>
        <translation>Limiet in KB/s (1024 KB/s zijn 1 MB/s):</translation>
    </message>
</context>
<context>
    <name>YencDecoder</name>
    <message>
        <source>Error seeking file</source>
        <translation>Fout bij het positioneren in het bestand</translation>
    </message>
    <message>
        <source>Error opening file: </source>
        <translation>Fout bij het openen van bestand: </translation>
    </message>
    <message>
        <source>the name leads out of its folder</source>
        <translation>de naam leidt buiten zijn map</translation>
    </message>
    <message>
        <source>Error writing to file. Check disk space</source>
        <translation>Fout bij het schrijven naar bestand. Controleer de schijfruimte</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>%1 does not exist</source>
        <translation>%1 bestaat niet</translation>
    </message>
    <message>
        <source>The Marlowick that is running did not take %1</source>
        <translation>De actieve Marlowick heeft %1 niet aangenomen</translation>
    </message>
</context>
</TS>
