<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es" sourcelanguage="en">
<context>
    <name>ArchiveUnpacker</name>
    <message>
        <source>encrypted 7z archives cannot be read</source>
        <translation>no se pueden leer archivos 7z cifrados</translation>
    </message>
    <message>
        <source>the archive is damaged</source>
        <translation>el archivo está dañado</translation>
    </message>
    <message>
        <source>members that are links or have forbidden names</source>
        <translation>elementos que son enlaces o tienen nombres no permitidos</translation>
    </message>
</context>
<context>
    <name>ConnectionPool</name>
    <message>
        <source>Connecting to server...</source>
        <translation>Conectando con el servidor...</translation>
    </message>
    <message>
        <source>Connected (%1)</source>
        <translation>Conectado (%1)</translation>
    </message>
    <message>
        <source>Server asks for password. Please specify password in &apos;settings&apos; window.</source>
        <translation>El servidor pide una contraseña. Indíquela en la ventana «Ajustes».</translation>
    </message>
    <message>
        <source>Supplied password not accepted. Check server settings</source>
        <translation>La contraseña no ha sido aceptada. Compruebe los ajustes del servidor</translation>
    </message>
    <message>
        <source>Server settings changed</source>
        <translation>Los ajustes del servidor han cambiado</translation>
    </message>
    <message>
        <source>Last error: </source>
        <translation>Último error: </translation>
    </message>
    <message>
        <source>, retrying in </source>
        <translation>, nuevo intento en </translation>
    </message>
    <message numerus="yes">
        <source> seconds</source>
        <translation>
            <numerusform> segundo</numerusform>
            <numerusform> segundos</numerusform>
        </translation>
    </message>
    <message>
        <source>. Pausing downloads</source>
        <translation>. Se pausan las descargas</translation>
    </message>
</context>
<context>
    <name>DebugDialog</name>
    <message>
        <source>Debug log</source>
        <translation>Registro de depuración</translation>
    </message>
    <message>
        <source>Use the program like you normally do. Debug messages will appear here:

</source>
        <translation>Utilice el programa como de costumbre. Los mensajes de depuración aparecerán aquí:

</translation>
    </message>
</context>
<context>
    <name>DeleteDialog</name>
    <message>
        <source>Confirm delete</source>
        <translation>Confirmar la eliminación</translation>
    </message>
    <message>
        <source>Remove item from list</source>
        <translation>Quitar el elemento de la lista</translation>
    </message>
    <message>
        <source>+ Delete downloaded files from disk</source>
        <translation>+ Eliminar los archivos descargados</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
</context>
<context>
    <name>DesktopLink</name>
    <message>
        <source>%1 is complete</source>
        <translation>%1 está completo</translation>
    </message>
    <message>
        <source>%1 has failed: %2</source>
        <translation>%1 ha fallado: %2</translation>
    </message>
    <message>
        <source>%1 waits for a password</source>
        <translation>%1 espera una contraseña</translation>
    </message>
</context>
<context>
    <name>FileCombiner</name>
    <message>
        <source>Output filename &apos;%1&apos; already exists</source>
        <translation>El archivo de salida «%1» ya existe</translation>
    </message>
    <message>
        <source>Error opening output file &apos;%1&apos;</source>
        <translation>Error al abrir el archivo de salida «%1»</translation>
    </message>
    <message>
        <source>Error opening file: </source>
        <translation>Error al abrir el archivo: </translation>
    </message>
    <message>
        <source>Error reading from file: </source>
        <translation>Error al leer el archivo: </translation>
    </message>
    <message>
        <source>Error writing to file: </source>
        <translation>Error al escribir en el archivo: </translation>
    </message>
</context>
<context>
    <name>JobArchives</name>
    <message>
        <source>Not unpacked: %1: %2</source>
        <translation>Sin descomprimir: %1: %2</translation>
    </message>
    <message>
        <source>Not unpacked: %1: not enough disk space</source>
        <translation>Sin descomprimir: %1: no hay espacio en disco</translation>
    </message>
    <message>
        <source>Not unpacked: %1: wrong password</source>
        <translation>Sin descomprimir: %1: contraseña incorrecta</translation>
    </message>
</context>
<context>
    <name>JobWork</name>
    <message>
        <source>Damaged beyond repair</source>
        <translation>Daño irreparable</translation>
    </message>
    <message>
        <source>NZB complete: </source>
        <translation>NZB completo: </translation>
    </message>
    <message>
        <source>Repairing</source>
        <translation>Reparando</translation>
    </message>
    <message>
        <source>Damaged: par2 program not found</source>
        <translation>Dañado: no se encuentra el programa par2</translation>
    </message>
    <message>
        <source>Damaged: repair failed</source>
        <translation>Dañado: la reparación falló</translation>
    </message>
    <message>
        <source>Not unpacked: not enough disk space</source>
        <translation>Sin descomprimir: no hay suficiente espacio en disco</translation>
    </message>
    <message>
        <source>Download complete, starting unrar</source>
        <translation>Descarga completa, se inicia la extracción</translation>
    </message>
    <message>
        <source>Download complete, combining files</source>
        <translation>Descarga completa, se unen los archivos</translation>
    </message>
    <message>
        <source>Error extracting RAR: %1</source>
        <translation>Error al extraer el RAR: %1</translation>
    </message>
    <message>
        <source>Not unpacked: no password</source>
        <translation>Sin descomprimir: falta la contraseña</translation>
    </message>
    <message>
        <source>Download complete, unpacking archives</source>
        <translation>Descarga completa, se descomprimen los archivos</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Download queue</source>
        <translation>Cola de descargas</translation>
    </message>
    <message>
        <source>Tool bar</source>
        <translation>Barra de herramientas</translation>
    </message>
    <message>
        <source>Add NZB</source>
        <translation>Añadir NZB</translation>
    </message>
    <message>
        <source>Imports a NZB file</source>
        <translation>Importa un archivo NZB</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pausar</translation>
    </message>
    <message>
        <source>Pauses download</source>
        <translation>Pausa la descarga</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Eliminar</translation>
    </message>
    <message>
        <source>Deletes a download</source>
        <translation>Elimina una descarga</translation>
    </message>
    <message>
        <source>Downloads</source>
        <translation>Descargas</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Vista previa</translation>
    </message>
    <message>
        <source>Preview movie</source>
        <translation>Vista previa de la película</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Ajustes</translation>
    </message>
    <message>
        <source> --- GB free  </source>
        <translation> --- GB libres  </translation>
    </message>
    <message>
        <source>Free disk space</source>
        <translation>Espacio libre en disco</translation>
    </message>
    <message>
        <source>  0.0 Mbit/s  </source>
        <translation>  0.0 Mbit/s  </translation>
    </message>
    <message>
        <source>  **d **h **m left </source>
        <translation>  quedan **d **h **min </translation>
    </message>
    <message>
        <source>Time left</source>
        <translation>Tiempo restante</translation>
    </message>
    <message>
        <source>Loading queue failed</source>
        <translation>No se pudo cargar la cola</translation>
    </message>
    <message>
        <source>There was an error loading the queue. Do you want to load the backup file?</source>
        <translation>Se produjo un error al cargar la cola. ¿Desea cargar la copia de seguridad?</translation>
    </message>
    <message>
        <source>Loading backup failed</source>
        <translation>No se pudo cargar la copia de seguridad</translation>
    </message>
    <message>
        <source>Loading the backup failed as well :-( </source>
        <translation>Tampoco se pudo cargar la copia de seguridad :-( </translation>
    </message>
    <message>
        <source>Error processing NZB</source>
        <translation>Error al procesar el NZB</translation>
    </message>
    <message>
        <source>Select NZB file</source>
        <translation>Seleccionar archivo NZB</translation>
    </message>
    <message>
        <source>NZB files (*.nzb)</source>
        <translation>Archivos NZB (*.nzb)</translation>
    </message>
    <message>
        <source>Paused file</source>
        <translation>Descarga en pausa</translation>
    </message>
    <message>
        <source>Resuming download</source>
        <translation>Se reanuda la descarga</translation>
    </message>
    <message>
        <source>Deleted item</source>
        <translation>Elemento eliminado</translation>
    </message>
    <message>
        <source>Password protected RAR file</source>
        <translation>Archivo RAR protegido con contraseña</translation>
    </message>
    <message>
        <source>Please enter the password of what you are downloading</source>
        <translation>Introduzca la contraseña de lo que está descargando</translation>
    </message>
    <message>
        <source>File is already being previewed</source>
        <translation>Ya se está mostrando la vista previa del archivo</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Error</translation>
    </message>
    <message>
        <source>  %1 Mbit/s  </source>
        <translation>  %1 Mbit/s  </translation>
    </message>
    <message>
        <source> %1d %2h %3m left  </source>
        <translation> quedan %1d %2h %3min  </translation>
    </message>
    <message>
        <source>  %1 GB free  </source>
        <translation>  %1 GB libres  </translation>
    </message>
    <message>
        <source>Low disk space</source>
        <translation>Poco espacio en disco</translation>
    </message>
    <message>
        <source>Only %1 MB of disk space left. Suspending all downloads.</source>
        <translation>Solo quedan %1 MB de espacio en disco. Se suspenden todas las descargas.</translation>
    </message>
    <message>
        <source>More</source>
        <translation>Más</translation>
    </message>
    <message>
        <source>Repair and unpack</source>
        <translation>Reparar y descomprimir</translation>
    </message>
    <message>
        <source>Password protected ZIP file</source>
        <translation>Archivo ZIP protegido con contraseña</translation>
    </message>
    <message>
        <source>Drop NZB files here, or press Add NZB</source>
        <translation>Arrastre aquí archivos NZB o pulse Añadir NZB</translation>
    </message>
    <message>
        <source>To download them, a news server is needed: press Settings</source>
        <translation>Para descargarlos hace falta un servidor de noticias: pulse Ajustes</translation>
    </message>
    <message numerus="yes">
        <source>Deleted %n items</source>
        <translation>
            <numerusform>%n elemento eliminado</numerusform>
            <numerusform>%n elementos eliminados</numerusform>
        </translation>
    </message>
    <message>
        <source>There is no program to open %1</source>
        <translation>No hay ningún programa para abrir %1</translation>
    </message>
</context>
<context>
    <name>Marlowick</name>
    <message>
        <source>Error creating the settings folder &apos;%1&apos;. Settings and queue cannot be saved.</source>
        <translation>Error al crear la carpeta de ajustes «%1». No se pueden guardar los ajustes ni la cola.</translation>
    </message>
    <message>
        <source>Error saving queue file</source>
        <translation>Error al guardar el archivo de la cola</translation>
    </message>
    <message>
        <source>Error loading queue file</source>
        <translation>Error al cargar el archivo de la cola</translation>
    </message>
    <message>
        <source>Error parsing queue file</source>
        <translation>El archivo de la cola no es válido</translation>
    </message>
    <message>
        <source>The speed limit could not be saved. It holds until the program ends.</source>
        <translation>El límite de velocidad no se ha podido guardar y vale hasta que termine el programa.</translation>
    </message>
</context>
<context>
    <name>NNTP</name>
    <message>
        <source>The server sent a line without an end</source>
        <translation>El servidor envió una línea sin fin</translation>
    </message>
    <message>
        <source>SSL verification error</source>
        <translation>Error de verificación SSL</translation>
    </message>
    <message>
        <source>.&lt;p&gt;This could mean something bad, like a man-in-the-middle attack.&lt;p&gt;However it is more likely that your provider forgot to install a proper SSL certificate issued by a &apos;real&apos; Certificate Authority on their Usenet server. Contact them to have this fixed!</source>
        <translation>.&lt;p&gt;Esto puede significar algo malo, como un ataque de intermediario.&lt;p&gt;Sin embargo, es más probable que su proveedor haya olvidado instalar en su servidor Usenet un certificado SSL correcto, emitido por una autoridad de certificación «de verdad». ¡Pídale que lo corrija!</translation>
    </message>
    <message>
        <source>: You entered hostname &apos;%1&apos; but the server&apos;s SSL certificate is only valid for &apos;%2&apos;</source>
        <translation>: ha introducido el nombre de host «%1», pero el certificado SSL del servidor solo es válido para «%2»</translation>
    </message>
    <message>
        <source>The server sent more than it was asked for</source>
        <translation>El servidor envió más de lo que se le pidió</translation>
    </message>
    <message>
        <source>The server sent an article without an end</source>
        <translation>El servidor envió un artículo sin fin</translation>
    </message>
</context>
<context>
    <name>Notifier</name>
    <message numerus="yes">
        <source>and %n more</source>
        <translation>
            <numerusform>y %n más</numerusform>
            <numerusform>y %n más</numerusform>
        </translation>
    </message>
    <message>
        <source>Show</source>
        <translation>Mostrar</translation>
    </message>
</context>
<context>
    <name>Nzb</name>
    <message>
        <source>Finished</source>
        <translation>Terminado</translation>
    </message>
    <message>
        <source> incomplete</source>
        <translation> (incompleto)</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>En pausa</translation>
    </message>
    <message>
        <source>Error opening NZB for reading</source>
        <translation>Error al abrir el NZB para leerlo</translation>
    </message>
    <message>
        <source>Error parsing NZB</source>
        <translation>El NZB no es válido</translation>
    </message>
</context>
<context>
    <name>NzbFile</name>
    <message>
        <source>-empty file-</source>
        <translation>-archivo vacío-</translation>
    </message>
    <message>
        <source>Finished</source>
        <translation>Terminado</translation>
    </message>
    <message>
        <source> incomplete</source>
        <translation> (incompleto)</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>En pausa</translation>
    </message>
    <message>
        <source>Queued</source>
        <translation>En cola</translation>
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
        <translation>Archivo</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Tamaño</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Estado</translation>
    </message>
</context>
<context>
    <name>Par2Process</name>
    <message>
        <source>Cannot find par2 executable</source>
        <translation>No se encuentra el programa par2</translation>
    </message>
</context>
<context>
    <name>PostProcessor</name>
    <message>
        <source>File download complete: </source>
        <translation>Descarga del archivo completa: </translation>
    </message>
    <message>
        <source>RAR processing suspended. Not enough disk space to extract %1 MB file</source>
        <translation>Extracción de RAR suspendida. No hay espacio en disco para un archivo de %1 MB</translation>
    </message>
    <message>
        <source>Archive not unpacked. Not enough disk space to extract %1 MB file</source>
        <translation>Archivo sin descomprimir. No hay espacio en disco para un archivo de %1 MB</translation>
    </message>
    <message>
        <source>Articles are missing</source>
        <translation>Faltan artículos</translation>
    </message>
</context>
<context>
    <name>RowCommands</name>
    <message>
        <source>Open</source>
        <translation>Abrir</translation>
    </message>
    <message>
        <source>There is no program to open %1</source>
        <translation>No hay ningún programa para abrir %1</translation>
    </message>
    <message>
        <source>%1 is no longer on the disk</source>
        <translation>%1 ya no está en el disco</translation>
    </message>
    <message>
        <source>Open folder</source>
        <translation>Abrir la carpeta</translation>
    </message>
</context>
<context>
    <name>RowMenu</name>
    <message>
        <source>Open</source>
        <translation>Abrir</translation>
    </message>
    <message>
        <source>Open folder</source>
        <translation>Abrir la carpeta</translation>
    </message>
    <message>
        <source>Move to top</source>
        <translation>Llevar al principio</translation>
    </message>
    <message>
        <source>Move up</source>
        <translation>Subir</translation>
    </message>
    <message>
        <source>Move down</source>
        <translation>Bajar</translation>
    </message>
    <message>
        <source>Move to bottom</source>
        <translation>Llevar al final</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pausar</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Reanudar</translation>
    </message>
    <message>
        <source>Pause all</source>
        <translation>Pausar todo</translation>
    </message>
    <message>
        <source>Resume all</source>
        <translation>Reanudar todo</translation>
    </message>
    <message>
        <source>Copy name</source>
        <translation>Copiar el nombre</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>Settings</source>
        <translation>Ajustes</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Servidor</translation>
    </message>
    <message>
        <source>NNTP Server</source>
        <translation>Servidor NNTP</translation>
    </message>
    <message>
        <source>Hostname:</source>
        <translation>Nombre de host:</translation>
    </message>
    <message>
        <source>Username:</source>
        <translation>Usuario:</translation>
    </message>
    <message>
        <source>Password:</source>
        <translation>Contraseña:</translation>
    </message>
    <message>
        <source>Does the server supports SSL encryption?</source>
        <translation>¿Admite el servidor el cifrado SSL?</translation>
    </message>
    <message>
        <source>Yes, on port 443 (evades traffic shaping)</source>
        <translation>Sí, en el puerto 443 (evita la limitación del tráfico)</translation>
    </message>
    <message>
        <source>Yes, on official port 563 </source>
        <translation>Sí, en el puerto oficial 563 </translation>
    </message>
    <message>
        <source>No</source>
        <translation>No</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Avanzado</translation>
    </message>
    <message>
        <source>Maximum number of connections to server</source>
        <translation>Número máximo de conexiones al servidor</translation>
    </message>
    <message>
        <source>Automatically repair downloads (using par2)</source>
        <translation>Reparar las descargas automáticamente (con par2)</translation>
    </message>
    <message>
        <source>Only download PAR2 repair blocks if post is incomplete</source>
        <translation>Descargar bloques PAR2 solo si el mensaje está incompleto</translation>
    </message>
    <message>
        <source>Remove files from download list when finished</source>
        <translation>Quitar de la lista las descargas terminadas</translation>
    </message>
    <message>
        <source>RAR handling</source>
        <translation>Archivos RAR</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>No extraer</translation>
    </message>
    <message>
        <source>Start extracting while you download</source>
        <translation>Extraer ya durante la descarga</translation>
    </message>
    <message>
        <source>Extract after download+repair</source>
        <translation>Extraer tras la descarga y la reparación</translation>
    </message>
    <message>
        <source>Download folder:</source>
        <translation>Carpeta de descargas:</translation>
    </message>
    <message>
        <source>Browse for the download folder</source>
        <translation>Buscar la carpeta de descargas</translation>
    </message>
    <message>
        <source>..</source>
        <translation>..</translation>
    </message>
    <message>
        <source>Media player:</source>
        <translation>Reproductor multimedia:</translation>
    </message>
    <message>
        <source>Browse for the media player</source>
        <translation>Buscar el reproductor multimedia</translation>
    </message>
    <message>
        <source>Parameters:</source>
        <translation>Parámetros:</translation>
    </message>
    <message>
        <source>Network time-out:</source>
        <translation>Tiempo de espera de la red:</translation>
    </message>
    <message>
        <source>Retry after waiting:</source>
        <translation>Reintentar después de:</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Asistencia</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Acerca de</translation>
    </message>
    <message>
        <source>Marlowick version: </source>
        <translation>Versión de Marlowick: </translation>
    </message>
    <message>
        <source>QT version: </source>
        <translation>Versión de QT: </translation>
    </message>
    <message>
        <source>Icons: the Marlowick authors</source>
        <translation>Iconos: los autores de Marlowick</translation>
    </message>
    <message>
        <source>Copyright: the Marlowick authors (MIT license)</source>
        <translation>Copyright: los autores de Marlowick (licencia MIT)</translation>
    </message>
    <message>
        <source>Troubleshooting</source>
        <translation>Solución de problemas</translation>
    </message>
    <message>
        <source>Open debugging window</source>
        <translation>Abrir la ventana de depuración</translation>
    </message>
    <message>
        <source>Report bug</source>
        <translation>Informar de un error</translation>
    </message>
    <message>
        <source>Testing server settings</source>
        <translation>Se comprueban los ajustes del servidor</translation>
    </message>
    <message numerus="yes">
        <source>seconds</source>
        <comment>behind a number</comment>
        <translation>
            <numerusform>segundo</numerusform>
            <numerusform>segundos</numerusform>
        </translation>
    </message>
    <message>
        <source>Access error</source>
        <translation>Error de acceso</translation>
    </message>
    <message>
        <source>Error writing settings. Check file permissions.</source>
        <translation>Error al guardar los ajustes. Compruebe los permisos del archivo.</translation>
    </message>
    <message>
        <source>Hostname required</source>
        <translation>Falta el nombre de host</translation>
    </message>
    <message>
        <source>Please enter the hostname of your Usenet server</source>
        <translation>Introduzca el nombre de host de su servidor Usenet</translation>
    </message>
    <message>
        <source>Username?</source>
        <translation>¿Usuario?</translation>
    </message>
    <message>
        <source>You entered a password, but left username empty. Please enter a username if your server requires authentication, or leave both username and password blank</source>
        <translation>Ha introducido una contraseña, pero ningún usuario. Introduzca un usuario si su servidor exige autenticación, o deje en blanco tanto el usuario como la contraseña</translation>
    </message>
    <message>
        <source>Download folder does not exist</source>
        <translation>La carpeta de descargas no existe</translation>
    </message>
    <message>
        <source>The folder you specified does not exists</source>
        <translation>La carpeta indicada no existe</translation>
    </message>
    <message>
        <source>Media player does not exist</source>
        <translation>El reproductor multimedia no existe</translation>
    </message>
    <message>
        <source>Please specify the location of your media player, or leave blank</source>
        <translation>Indique la ubicación de su reproductor multimedia, o deje el campo en blanco</translation>
    </message>
    <message>
        <source>Select download folder</source>
        <translation>Seleccionar la carpeta de descargas</translation>
    </message>
    <message>
        <source>Network time-out</source>
        <translation>Se agotó el tiempo de espera de la red</translation>
    </message>
    <message>
        <source>Check server settings</source>
        <translation>Compruebe los ajustes del servidor</translation>
    </message>
</context>
<context>
    <name>SleepInhibitor</name>
    <message>
        <source>A download is under way</source>
        <translation>Hay una descarga en curso</translation>
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
        <translation>Velocidad de descarga</translation>
    </message>
    <message>
        <source>Download speed. Click to limit it.</source>
        <translation>Velocidad de descarga. Haga clic para limitarla.</translation>
    </message>
    <message>
        <source>%1(limit %2)  </source>
        <translation>%1(límite %2)  </translation>
    </message>
    <message>
        <source>No limit</source>
        <translation>Sin límite</translation>
    </message>
    <message>
        <source>Other...</source>
        <translation>Otro...</translation>
    </message>
    <message>
        <source>Speed limit</source>
        <translation>Límite de velocidad</translation>
    </message>
    <message>
        <source>Limit in KB/s (1024 KB/s are 1 MB/s):</source>
        <translation>Límite en KB/s (1024 KB/s son 1 MB/s):</translation>
    </message>
</context>
<context>
    <name>YencDecoder</name>
    <message>
        <source>Error seeking file</source>
        <translation>Error al posicionarse en el archivo</translation>
    </message>
    <message>
        <source>Error opening file: </source>
        <translation>Error al abrir el archivo: </translation>
    </message>
    <message>
        <source>the name leads out of its folder</source>
        <translation>el nombre lleva fuera de su carpeta</translation>
    </message>
    <message>
        <source>Error writing to file. Check disk space</source>
        <translation>Error al escribir en el archivo. Compruebe el espacio en disco</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>%1 does not exist</source>
        <translation>%1 no existe</translation>
    </message>
    <message>
        <source>The Marlowick that is running did not take %1</source>
        <translation>El Marlowick en ejecución no ha aceptado %1</translation>
    </message>
</context>
</TS>
