<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>ArchiveUnpacker</name>
    <message>
        <source>encrypted 7z archives cannot be read</source>
        <translation>les archives 7z chiffrées ne peuvent pas être lues</translation>
    </message>
    <message>
        <source>the archive is damaged</source>
        <translation>l’archive est endommagée</translation>
    </message>
    <message>
        <source>members that are links or have forbidden names</source>
        <translation>des éléments qui sont des liens ou dont le nom n’est pas autorisé</translation>
    </message>
</context>
<context>
    <name>ConnectionPool</name>
    <message>
        <source>Connecting to server...</source>
        <translation>Connexion au serveur…</translation>
    </message>
    <message>
        <source>Connected (%1)</source>
        <translation>Connecté (%1)</translation>
    </message>
    <message>
        <source>Server asks for password. Please specify password in &apos;settings&apos; window.</source>
        <translation>Le serveur demande un mot de passe. Veuillez l’indiquer dans la fenêtre «&#xa0;Paramètres&#xa0;».</translation>
    </message>
    <message>
        <source>Supplied password not accepted. Check server settings</source>
        <translation>Le mot de passe n’a pas été accepté. Vérifiez les paramètres du serveur</translation>
    </message>
    <message>
        <source>Server settings changed</source>
        <translation>Paramètres du serveur modifiés</translation>
    </message>
    <message>
        <source>Last error: </source>
        <translation>Dernière erreur&#xa0;: </translation>
    </message>
    <message>
        <source>, retrying in </source>
        <translation>, nouvel essai dans </translation>
    </message>
    <message numerus="yes">
        <source> seconds</source>
        <translation>
            <numerusform> seconde</numerusform>
            <numerusform> secondes</numerusform>
        </translation>
    </message>
    <message>
        <source>. Pausing downloads</source>
        <translation>. Les téléchargements sont mis en pause</translation>
    </message>
</context>
<context>
    <name>DebugDialog</name>
    <message>
        <source>Debug log</source>
        <translation>Journal de débogage</translation>
    </message>
    <message>
        <source>Use the program like you normally do. Debug messages will appear here:

</source>
        <translation>Utilisez le programme comme d&apos;habitude. Les messages de débogage apparaîtront ici&#xa0;:

</translation>
    </message>
</context>
<context>
    <name>DeleteDialog</name>
    <message>
        <source>Confirm delete</source>
        <translation>Confirmer la suppression</translation>
    </message>
    <message>
        <source>Remove item from list</source>
        <translation>Retirer l’élément de la liste</translation>
    </message>
    <message>
        <source>+ Delete downloaded files from disk</source>
        <translation>+ Supprimer les fichiers téléchargés</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
</context>
<context>
    <name>DesktopLink</name>
    <message>
        <source>%1 is complete</source>
        <translation>%1 est terminé</translation>
    </message>
    <message>
        <source>%1 has failed: %2</source>
        <translation>%1 a échoué : %2</translation>
    </message>
    <message>
        <source>%1 waits for a password</source>
        <translation>%1 attend un mot de passe</translation>
    </message>
</context>
<context>
    <name>FileCombiner</name>
    <message>
        <source>Output filename &apos;%1&apos; already exists</source>
        <translation>Le fichier de sortie «&#xa0;%1&#xa0;» existe déjà</translation>
    </message>
    <message>
        <source>Error opening output file &apos;%1&apos;</source>
        <translation>Erreur à l’ouverture du fichier de sortie «&#xa0;%1&#xa0;»</translation>
    </message>
    <message>
        <source>Error opening file: </source>
        <translation>Erreur à l’ouverture du fichier&#xa0;: </translation>
    </message>
    <message>
        <source>Error reading from file: </source>
        <translation>Erreur à la lecture du fichier&#xa0;: </translation>
    </message>
    <message>
        <source>Error writing to file: </source>
        <translation>Erreur à l’écriture du fichier&#xa0;: </translation>
    </message>
</context>
<context>
    <name>JobArchives</name>
    <message>
        <source>Not unpacked: %1: %2</source>
        <translation>Non décompressé&#xa0;: %1&#xa0;: %2</translation>
    </message>
    <message>
        <source>Not unpacked: %1: not enough disk space</source>
        <translation>Non décompressé&#xa0;: %1&#xa0;: espace disque insuffisant</translation>
    </message>
    <message>
        <source>Not unpacked: %1: wrong password</source>
        <translation>Non décompressé&#xa0;: %1&#xa0;: mot de passe incorrect</translation>
    </message>
</context>
<context>
    <name>JobWork</name>
    <message>
        <source>Damaged beyond repair</source>
        <translation>Irréparable</translation>
    </message>
    <message>
        <source>NZB complete: </source>
        <translation>NZB complet&#xa0;: </translation>
    </message>
    <message>
        <source>Repairing</source>
        <translation>Réparation en cours</translation>
    </message>
    <message>
        <source>Damaged: par2 program not found</source>
        <translation>Endommagé&#xa0;: programme par2 introuvable</translation>
    </message>
    <message>
        <source>Damaged: repair failed</source>
        <translation>Endommagé&#xa0;: échec de la réparation</translation>
    </message>
    <message>
        <source>Not unpacked: not enough disk space</source>
        <translation>Non décompressé&#xa0;: espace disque insuffisant</translation>
    </message>
    <message>
        <source>Download complete, starting unrar</source>
        <translation>Téléchargement terminé, début de l’extraction</translation>
    </message>
    <message>
        <source>Download complete, combining files</source>
        <translation>Téléchargement terminé, assemblage des fichiers</translation>
    </message>
    <message>
        <source>Error extracting RAR: %1</source>
        <translation>Erreur à l’extraction du RAR&#xa0;: %1</translation>
    </message>
    <message>
        <source>Not unpacked: no password</source>
        <translation>Non décompressé&#xa0;: pas de mot de passe</translation>
    </message>
    <message>
        <source>Download complete, unpacking archives</source>
        <translation>Téléchargement terminé, décompression des archives</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Download queue</source>
        <translation>File de téléchargement</translation>
    </message>
    <message>
        <source>Tool bar</source>
        <translation>Barre d’outils</translation>
    </message>
    <message>
        <source>Add NZB</source>
        <translation>Ajouter un NZB</translation>
    </message>
    <message>
        <source>Imports a NZB file</source>
        <translation>Importe un fichier NZB</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Pauses download</source>
        <translation>Met le téléchargement en pause</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>Deletes a download</source>
        <translation>Supprime un téléchargement</translation>
    </message>
    <message>
        <source>Downloads</source>
        <translation>Téléchargements</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Aperçu</translation>
    </message>
    <message>
        <source>Preview movie</source>
        <translation>Aperçu du film</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Paramètres</translation>
    </message>
    <message>
        <source> --- GB free  </source>
        <translation> --- Go libres  </translation>
    </message>
    <message>
        <source>Free disk space</source>
        <translation>Espace disque libre</translation>
    </message>
    <message>
        <source>  0.0 Mbit/s  </source>
        <translation>  0.0 Mbit/s  </translation>
    </message>
    <message>
        <source>  **d **h **m left </source>
        <translation>  reste **j **h **min </translation>
    </message>
    <message>
        <source>Time left</source>
        <translation>Temps restant</translation>
    </message>
    <message>
        <source>Loading queue failed</source>
        <translation>Échec du chargement de la file</translation>
    </message>
    <message>
        <source>There was an error loading the queue. Do you want to load the backup file?</source>
        <translation>Une erreur est survenue au chargement de la file. Voulez-vous charger la copie de sauvegarde&#xa0;?</translation>
    </message>
    <message>
        <source>Loading backup failed</source>
        <translation>Échec du chargement de la sauvegarde</translation>
    </message>
    <message>
        <source>Loading the backup failed as well :-( </source>
        <translation>Le chargement de la sauvegarde a échoué aussi :-( </translation>
    </message>
    <message>
        <source>Error processing NZB</source>
        <translation>Erreur au traitement du NZB</translation>
    </message>
    <message>
        <source>Select NZB file</source>
        <translation>Choisir un fichier NZB</translation>
    </message>
    <message>
        <source>NZB files (*.nzb)</source>
        <translation>Fichiers NZB (*.nzb)</translation>
    </message>
    <message>
        <source>Paused file</source>
        <translation>Téléchargement en pause</translation>
    </message>
    <message>
        <source>Resuming download</source>
        <translation>Reprise du téléchargement</translation>
    </message>
    <message>
        <source>Deleted item</source>
        <translation>Élément supprimé</translation>
    </message>
    <message>
        <source>Password protected RAR file</source>
        <translation>Fichier RAR protégé par mot de passe</translation>
    </message>
    <message>
        <source>Please enter the password of what you are downloading</source>
        <translation>Veuillez saisir le mot de passe de ce téléchargement</translation>
    </message>
    <message>
        <source>File is already being previewed</source>
        <translation>Un aperçu de ce fichier est déjà en cours</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Erreur</translation>
    </message>
    <message>
        <source>  %1 Mbit/s  </source>
        <translation>  %1 Mbit/s  </translation>
    </message>
    <message>
        <source> %1d %2h %3m left  </source>
        <translation> reste %1j %2h %3min  </translation>
    </message>
    <message>
        <source>  %1 GB free  </source>
        <translation>  %1 Go libres  </translation>
    </message>
    <message>
        <source>Low disk space</source>
        <translation>Espace disque faible</translation>
    </message>
    <message>
        <source>Only %1 MB of disk space left. Suspending all downloads.</source>
        <translation>Il ne reste que %1 Mo d’espace disque. Tous les téléchargements sont suspendus.</translation>
    </message>
    <message>
        <source>More</source>
        <translation>Plus</translation>
    </message>
    <message>
        <source>Repair and unpack</source>
        <translation>Réparer et décompresser</translation>
    </message>
    <message>
        <source>Password protected ZIP file</source>
        <translation>Fichier ZIP protégé par mot de passe</translation>
    </message>
    <message>
        <source>Drop NZB files here, or press Add NZB</source>
        <translation>Déposez des fichiers NZB ici, ou appuyez sur Ajouter un NZB</translation>
    </message>
    <message>
        <source>To download them, a news server is needed: press Settings</source>
        <translation>Pour les télécharger, il faut un serveur de news : appuyez sur Paramètres</translation>
    </message>
    <message numerus="yes">
        <source>Deleted %n items</source>
        <translation>
            <numerusform>%n élément supprimé</numerusform>
            <numerusform>%n éléments supprimés</numerusform>
        </translation>
    </message>
    <message>
        <source>There is no program to open %1</source>
        <translation>Il n’y a aucun programme pour ouvrir %1</translation>
    </message>
</context>
<context>
    <name>Marlowick</name>
    <message>
        <source>Error creating the settings folder &apos;%1&apos;. Settings and queue cannot be saved.</source>
        <translation>Erreur à la création du dossier des paramètres «&#xa0;%1&#xa0;». Les paramètres et la file ne peuvent pas être enregistrés.</translation>
    </message>
    <message>
        <source>Error saving queue file</source>
        <translation>Erreur à l’enregistrement de la file</translation>
    </message>
    <message>
        <source>Error loading queue file</source>
        <translation>Erreur au chargement de la file</translation>
    </message>
    <message>
        <source>Error parsing queue file</source>
        <translation>Le fichier de la file est invalide</translation>
    </message>
    <message>
        <source>The speed limit could not be saved. It holds until the program ends.</source>
        <translation>La limite de vitesse n’a pas pu être enregistrée et vaut jusqu’à la fin du programme.</translation>
    </message>
</context>
<context>
    <name>NNTP</name>
    <message>
        <source>The server sent a line without an end</source>
        <translation>Le serveur a envoyé une ligne sans fin</translation>
    </message>
    <message>
        <source>SSL verification error</source>
        <translation>Erreur de vérification SSL</translation>
    </message>
    <message>
        <source>.&lt;p&gt;This could mean something bad, like a man-in-the-middle attack.&lt;p&gt;However it is more likely that your provider forgot to install a proper SSL certificate issued by a &apos;real&apos; Certificate Authority on their Usenet server. Contact them to have this fixed!</source>
        <translation>.&lt;p&gt;Cela peut être grave, comme une attaque de l’homme du milieu.&lt;p&gt;Il est cependant plus probable que votre fournisseur ait oublié d’installer sur son serveur Usenet un certificat SSL correct, émis par une «&#xa0;vraie&#xa0;» autorité de certification. Demandez-lui d’y remédier&#xa0;!</translation>
    </message>
    <message>
        <source>: You entered hostname &apos;%1&apos; but the server&apos;s SSL certificate is only valid for &apos;%2&apos;</source>
        <translation>&#xa0;: vous avez saisi le nom d’hôte «&#xa0;%1&#xa0;», mais le certificat SSL du serveur n’est valable que pour «&#xa0;%2&#xa0;»</translation>
    </message>
    <message>
        <source>The server sent more than it was asked for</source>
        <translation>Le serveur a envoyé plus que ce qui lui était demandé</translation>
    </message>
    <message>
        <source>The server sent an article without an end</source>
        <translation>Le serveur a envoyé un article sans fin</translation>
    </message>
</context>
<context>
    <name>Notifier</name>
    <message numerus="yes">
        <source>and %n more</source>
        <translation>
            <numerusform>et %n autre</numerusform>
            <numerusform>et %n autres</numerusform>
        </translation>
    </message>
    <message>
        <source>Show</source>
        <translation>Afficher</translation>
    </message>
</context>
<context>
    <name>Nzb</name>
    <message>
        <source>Finished</source>
        <translation>Terminé</translation>
    </message>
    <message>
        <source> incomplete</source>
        <translation> (incomplet)</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>En pause</translation>
    </message>
    <message>
        <source>Error opening NZB for reading</source>
        <translation>Erreur à l’ouverture du NZB en lecture</translation>
    </message>
    <message>
        <source>Error parsing NZB</source>
        <translation>Le NZB est invalide</translation>
    </message>
</context>
<context>
    <name>NzbFile</name>
    <message>
        <source>-empty file-</source>
        <translation>-fichier vide-</translation>
    </message>
    <message>
        <source>Finished</source>
        <translation>Terminé</translation>
    </message>
    <message>
        <source> incomplete</source>
        <translation> (incomplet)</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>En pause</translation>
    </message>
    <message>
        <source>Queued</source>
        <translation>En attente</translation>
    </message>
</context>
<context>
    <name>NzbModel</name>
    <message>
        <source> B</source>
        <translation> o</translation>
    </message>
    <message>
        <source> KB</source>
        <translation> Ko</translation>
    </message>
    <message>
        <source> MB</source>
        <translation> Mo</translation>
    </message>
    <message>
        <source> GB</source>
        <translation> Go</translation>
    </message>
    <message>
        <source> TB</source>
        <translation> To</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Fichier</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Taille</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>État</translation>
    </message>
</context>
<context>
    <name>Par2Process</name>
    <message>
        <source>Cannot find par2 executable</source>
        <translation>Le programme par2 est introuvable</translation>
    </message>
</context>
<context>
    <name>PostProcessor</name>
    <message>
        <source>File download complete: </source>
        <translation>Fichier téléchargé&#xa0;: </translation>
    </message>
    <message>
        <source>RAR processing suspended. Not enough disk space to extract %1 MB file</source>
        <translation>Extraction RAR suspendue. Espace disque insuffisant pour un fichier de %1 Mo</translation>
    </message>
    <message>
        <source>Archive not unpacked. Not enough disk space to extract %1 MB file</source>
        <translation>Archive non décompressée. Espace disque insuffisant pour un fichier de %1 Mo</translation>
    </message>
    <message>
        <source>Articles are missing</source>
        <translation>Des articles manquent</translation>
    </message>
</context>
<context>
    <name>RowCommands</name>
    <message>
        <source>Open</source>
        <translation>Ouvrir</translation>
    </message>
    <message>
        <source>There is no program to open %1</source>
        <translation>Il n’y a aucun programme pour ouvrir %1</translation>
    </message>
    <message>
        <source>%1 is no longer on the disk</source>
        <translation>%1 n’est plus sur le disque</translation>
    </message>
    <message>
        <source>Open folder</source>
        <translation>Ouvrir le dossier</translation>
    </message>
</context>
<context>
    <name>RowMenu</name>
    <message>
        <source>Open</source>
        <translation>Ouvrir</translation>
    </message>
    <message>
        <source>Open folder</source>
        <translation>Ouvrir le dossier</translation>
    </message>
    <message>
        <source>Move to top</source>
        <translation>Placer au début</translation>
    </message>
    <message>
        <source>Move up</source>
        <translation>Monter</translation>
    </message>
    <message>
        <source>Move down</source>
        <translation>Descendre</translation>
    </message>
    <message>
        <source>Move to bottom</source>
        <translation>Placer à la fin</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Mettre en pause</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Reprendre</translation>
    </message>
    <message>
        <source>Pause all</source>
        <translation>Tout mettre en pause</translation>
    </message>
    <message>
        <source>Resume all</source>
        <translation>Tout reprendre</translation>
    </message>
    <message>
        <source>Copy name</source>
        <translation>Copier le nom</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>Settings</source>
        <translation>Paramètres</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Serveur</translation>
    </message>
    <message>
        <source>NNTP Server</source>
        <translation>Serveur NNTP</translation>
    </message>
    <message>
        <source>Hostname:</source>
        <translation>Nom d’hôte&#xa0;:</translation>
    </message>
    <message>
        <source>Username:</source>
        <translation>Nom d’utilisateur&#xa0;:</translation>
    </message>
    <message>
        <source>Password:</source>
        <translation>Mot de passe&#xa0;:</translation>
    </message>
    <message>
        <source>Does the server supports SSL encryption?</source>
        <translation>Le serveur prend-il en charge le chiffrement SSL&#xa0;?</translation>
    </message>
    <message>
        <source>Yes, on port 443 (evades traffic shaping)</source>
        <translation>Oui, sur le port 443 (contourne le bridage)</translation>
    </message>
    <message>
        <source>Yes, on official port 563 </source>
        <translation>Oui, sur le port officiel 563 </translation>
    </message>
    <message>
        <source>No</source>
        <translation>Non</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Avancé</translation>
    </message>
    <message>
        <source>Maximum number of connections to server</source>
        <translation>Nombre maximal de connexions au serveur</translation>
    </message>
    <message>
        <source>Automatically repair downloads (using par2)</source>
        <translation>Réparer automatiquement les téléchargements (avec par2)</translation>
    </message>
    <message>
        <source>Only download PAR2 repair blocks if post is incomplete</source>
        <translation>Ne télécharger les blocs PAR2 que si l’envoi est incomplet</translation>
    </message>
    <message>
        <source>Remove files from download list when finished</source>
        <translation>Retirer de la liste les téléchargements terminés</translation>
    </message>
    <message>
        <source>RAR handling</source>
        <translation>Archives RAR</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Ne pas extraire</translation>
    </message>
    <message>
        <source>Start extracting while you download</source>
        <translation>Extraire pendant le téléchargement</translation>
    </message>
    <message>
        <source>Extract after download+repair</source>
        <translation>Extraire après téléchargement et réparation</translation>
    </message>
    <message>
        <source>Download folder:</source>
        <translation>Dossier de téléchargement&#xa0;:</translation>
    </message>
    <message>
        <source>Browse for the download folder</source>
        <translation>Parcourir pour le dossier de téléchargement</translation>
    </message>
    <message>
        <source>..</source>
        <translation>..</translation>
    </message>
    <message>
        <source>Media player:</source>
        <translation>Lecteur multimédia&#xa0;:</translation>
    </message>
    <message>
        <source>Browse for the media player</source>
        <translation>Parcourir pour le lecteur multimédia</translation>
    </message>
    <message>
        <source>Parameters:</source>
        <translation>Paramètres&#xa0;:</translation>
    </message>
    <message>
        <source>Network time-out:</source>
        <translation>Délai d’expiration du réseau&#xa0;:</translation>
    </message>
    <message>
        <source>Retry after waiting:</source>
        <translation>Nouvel essai après&#xa0;:</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Assistance</translation>
    </message>
    <message>
        <source>About</source>
        <translation>À propos</translation>
    </message>
    <message>
        <source>Marlowick version: </source>
        <translation>Version de Marlowick&#xa0;: </translation>
    </message>
    <message>
        <source>QT version: </source>
        <translation>Version de QT&#xa0;: </translation>
    </message>
    <message>
        <source>Icons: the Marlowick authors</source>
        <translation>Icônes&#xa0;: les auteurs de Marlowick</translation>
    </message>
    <message>
        <source>Copyright: the Marlowick authors (MIT license)</source>
        <translation>Copyright&#xa0;: les auteurs de Marlowick (licence MIT)</translation>
    </message>
    <message>
        <source>Troubleshooting</source>
        <translation>Dépannage</translation>
    </message>
    <message>
        <source>Open debugging window</source>
        <translation>Ouvrir la fenêtre de débogage</translation>
    </message>
    <message>
        <source>Report bug</source>
        <translation>Signaler un bogue</translation>
    </message>
    <message>
        <source>Testing server settings</source>
        <translation>Test des paramètres du serveur</translation>
    </message>
    <message numerus="yes">
        <source>seconds</source>
        <comment>behind a number</comment>
        <translation>
            <numerusform>seconde</numerusform>
            <numerusform>secondes</numerusform>
        </translation>
    </message>
    <message>
        <source>Access error</source>
        <translation>Erreur d’accès</translation>
    </message>
    <message>
        <source>Error writing settings. Check file permissions.</source>
        <translation>Erreur à l’écriture des paramètres. Vérifiez les droits du fichier.</translation>
    </message>
    <message>
        <source>Hostname required</source>
        <translation>Nom d’hôte requis</translation>
    </message>
    <message>
        <source>Please enter the hostname of your Usenet server</source>
        <translation>Veuillez saisir le nom d’hôte de votre serveur Usenet</translation>
    </message>
    <message>
        <source>Username?</source>
        <translation>Nom d’utilisateur&#xa0;?</translation>
    </message>
    <message>
        <source>You entered a password, but left username empty. Please enter a username if your server requires authentication, or leave both username and password blank</source>
        <translation>Vous avez saisi un mot de passe, mais pas de nom d’utilisateur. Veuillez saisir un nom d’utilisateur si votre serveur demande une authentification, ou laisser les deux champs vides</translation>
    </message>
    <message>
        <source>Download folder does not exist</source>
        <translation>Le dossier de téléchargement n’existe pas</translation>
    </message>
    <message>
        <source>The folder you specified does not exists</source>
        <translation>Le dossier indiqué n’existe pas</translation>
    </message>
    <message>
        <source>Media player does not exist</source>
        <translation>Le lecteur multimédia n’existe pas</translation>
    </message>
    <message>
        <source>Please specify the location of your media player, or leave blank</source>
        <translation>Veuillez indiquer l’emplacement de votre lecteur multimédia, ou laisser le champ vide</translation>
    </message>
    <message>
        <source>Select download folder</source>
        <translation>Choisir le dossier de téléchargement</translation>
    </message>
    <message>
        <source>Network time-out</source>
        <translation>Délai d’expiration du réseau dépassé</translation>
    </message>
    <message>
        <source>Check server settings</source>
        <translation>Vérifiez les paramètres du serveur</translation>
    </message>
</context>
<context>
    <name>SleepInhibitor</name>
    <message>
        <source>A download is under way</source>
        <translation>Un téléchargement est en cours</translation>
    </message>
</context>
<context>
    <name>SpeedField</name>
    <message>
        <source>%1 MB/s</source>
        <translation>%1 Mo/s</translation>
    </message>
    <message>
        <source>%1 KB/s</source>
        <translation>%1 Ko/s</translation>
    </message>
    <message>
        <source>Download speed</source>
        <translation>Vitesse de téléchargement</translation>
    </message>
    <message>
        <source>Download speed. Click to limit it.</source>
        <translation>Vitesse de téléchargement. Cliquez pour la limiter.</translation>
    </message>
    <message>
        <source>%1(limit %2)  </source>
        <translation>%1(limite %2)  </translation>
    </message>
    <message>
        <source>No limit</source>
        <translation>Aucune limite</translation>
    </message>
    <message>
        <source>Other...</source>
        <translation>Autre...</translation>
    </message>
    <message>
        <source>Speed limit</source>
        <translation>Limite de vitesse</translation>
    </message>
    <message>
        <source>Limit in KB/s (1024 KB/s are 1 MB/s):</source>
        <translation>Limite en Ko/s (1024 Ko/s font 1 Mo/s) :</translation>
    </message>
</context>
<context>
    <name>YencDecoder</name>
    <message>
        <source>Error seeking file</source>
        <translation>Erreur de positionnement dans le fichier</translation>
    </message>
    <message>
        <source>Error opening file: </source>
        <translation>Erreur à l’ouverture du fichier&#xa0;: </translation>
    </message>
    <message>
        <source>the name leads out of its folder</source>
        <translation>le nom mène hors de son dossier</translation>
    </message>
    <message>
        <source>Error writing to file. Check disk space</source>
        <translation>Erreur à l’écriture du fichier. Vérifiez l’espace disque</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>%1 does not exist</source>
        <translation>%1 n’existe pas</translation>
    </message>
    <message>
        <source>The Marlowick that is running did not take %1</source>
        <translation>Le Marlowick en cours d’exécution n’a pas pris %1</translation>
    </message>
</context>
</TS>
