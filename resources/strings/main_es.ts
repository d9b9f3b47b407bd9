<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es" sourcelanguage="en">
<context>
    <name></name>
    <message id="MNU_AddNewFolder">
        <source>New Folder</source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>Nueva carpeta</translation>
    </message>
    <message id="MNU_EditName">
        <source>Rename</source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>Renombrar</translation>
    </message>
    <message id="MNU_FileName">
        <source>Name</source>
        <extracomment>Column heading.</extracomment>
        <translation>Nombre</translation>
    </message>
    <message id="MNU_DateOfModify">
        <source>Date Modified</source>
        <extracomment>Column heading; at most some 125 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>Modificado</translation>
    </message>
    <message id="MSG_FileSize">
        <source>Size</source>
        <extracomment>Column heading; at most some 70 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>Tamaño</translation>
    </message>
    <message id="MNU_CheckboxText">
        <source>Don’t ask me again</source>
        <extracomment>Check box in the question before deleting.</extracomment>
        <translation>No volver a preguntar</translation>
    </message>
    <message id="MSG_DeleteFile">
        <source>The selected items will be deleted from your phone. This can’t be undone.</source>
        <extracomment>Question before deleting; the heading is MNU_Delete.</extracomment>
        <translation>Los elementos seleccionados se eliminarán del teléfono. Esta acción no se puede deshacer.</translation>
    </message>
    <message id="MNU_DuplicateTransferMTP">
        <source>%1 already exists here.</source>
        <extracomment>Question when a name is taken. %1 is the name, already in quotation marks.</extracomment>
        <translation>%1 ya existe aquí.</translation>
    </message>
    <message id="MSG_DuplicateTransferMTPDescription">
        <source>Do you want to replace it with the one you’re copying?</source>
        <extracomment>Below MNU_DuplicateTransferMTP; the buttons are Replace, Replace All and Skip.</extracomment>
        <translation>¿Quiere reemplazarlo por el que está copiando?</translation>
    </message>
    <message id="MSG_DuplicateTransferFolderDescription">
        <source>Everything in the folder on the phone will be deleted.</source>
        <extracomment>Below MSG_DuplicateTransferMTPDescription, when the name is that of a folder on the phone.</extracomment>
        <translation>Se eliminará todo lo que contiene la carpeta del teléfono.</translation>
    </message>
    <message id="MNU_PrepareToSomething">
        <source>Getting ready…</source>
        <extracomment>Progress panel, before the first file.</extracomment>
        <translation>Preparando…</translation>
    </message>
    <message id="MSG_DropToDelete">
        <source>Drop here to delete</source>
        <extracomment>Where rows can be dropped to delete them from the phone; shown while they are dragged.</extracomment>
        <translation>Suelte aquí para eliminar</translation>
    </message>
    <message id="MSG_NowhereToDrop">
        <source>The items cannot be copied there.</source>
        <extracomment>Shown after rows were dropped on something that tells no folder to copy to.</extracomment>
        <translation>Los elementos no se pueden copiar ahí.</translation>
    </message>
    <message id="MSG_NowhereToDropDescription">
        <source>Drop them on a folder of a file manager, or choose a folder to copy them to.</source>
        <extracomment>Below MSG_NowhereToDrop.</extracomment>
        <translation>Suéltelos en una carpeta de un gestor de archivos o elija una carpeta a la que copiarlos.</translation>
    </message>
    <message id="MSG_ChooseCopyFolder">
        <source>Choose a Folder to Copy To</source>
        <extracomment>Title of the dialog that asks for the folder of the computer to copy to.</extracomment>
        <translation>Elegir la carpeta de destino</translation>
    </message>
    <message id="MSG_BnRTransfering">
        <source>Copying</source>
        <extracomment>Progress panel, between the counter and the file's name: “3/12 Copying photo.jpg”.</extracomment>
        <translation>Copiando</translation>
    </message>
    <message id="MSG_TransferResult">
        <source>Result</source>
        <extracomment>Last Transfer: heading of the column that tells what each entry came to.</extracomment>
        <translation>Resultado</translation>
    </message>
    <message id="MSG_TransferCopied">
        <source>Copied</source>
        <extracomment>Last Transfer: of an entry, and before a number (“Copied: 3”).</extracomment>
        <translation>Copiado</translation>
    </message>
    <message id="MSG_TransferSkipped">
        <source>Skipped</source>
        <extracomment>Last Transfer: the user did not want it, or it is nothing that can be copied. Also before a number.</extracomment>
        <translation>Omitido</translation>
    </message>
    <message id="MSG_TransferFailed">
        <source>Failed</source>
        <extracomment>Last Transfer: before the reason, and before a number.</extracomment>
        <translation>Error</translation>
    </message>
    <message id="MSG_TransferNotCopied">
        <source>Not copied</source>
        <extracomment>Last Transfer: the transfer ended before this entry was whole. Also before a number.</extracomment>
        <translation>No copiado</translation>
    </message>
    <message id="MSG_TransferNone">
        <source>Nothing has been copied yet.</source>
        <extracomment>Last Transfer: instead of the list.</extracomment>
        <translation>Todavía no se ha copiado nada.</translation>
    </message>
    <message id="MSG_WelcomToVBX2">
        <source>Connect your phone with a USB cable.
Then unlock it and choose “File transfer” in its USB notification.
If nothing happens, try another cable: some only charge.</source>
        <extracomment>The window while no phone is attached. “File transfer” is what Android calls this choice in your language.</extracomment>
        <translation>Conecte el teléfono con un cable USB.
Después desbloquéelo y elija «Transferencia de archivos» en su notificación de USB.
Si no ocurre nada, pruebe otro cable: algunos solo cargan.</translation>
    </message>
    <message id="MSG_PhoneLocked">
        <source>Your phone is locked or only charging.
Unlock it and choose “File transfer” in its USB notification.</source>
        <extracomment>In place of the welcome: a phone is attached and shows no storage.</extracomment>
        <translation>El teléfono está bloqueado o solo se está cargando.
Desbloquéelo y elija «Transferencia de archivos» en su notificación de USB.</translation>
    </message>
    <message id="MSG_PhonePictureTransfer">
        <source>Your phone is set to transfer pictures only.
Choose “File transfer” in its USB notification.</source>
        <extracomment>In place of the welcome: the phone is in picture-transfer mode. “File transfer” as in MSG_WelcomToVBX2.</extracomment>
        <translation>El teléfono está configurado para transferir solo imágenes.
Elija «Transferencia de archivos» en su notificación de USB.</translation>
    </message>
    <message id="MSG_PhoneNoPermission">
        <source>You don’t have permission to use this phone.
Plug it in again. If that doesn’t help, ask your administrator for access to it.</source>
        <extracomment>In place of the welcome: the system does not let the user open the phone.</extracomment>
        <translation>No tiene permiso para usar este teléfono.
Vuelva a conectarlo. Si no sirve, pida acceso a su administrador.</translation>
    </message>
    <message id="MSG_PhoneInUse">
        <source>Another program is using your phone.
Quit that program, or eject the phone there.</source>
        <extracomment>In place of the welcome: another program has the phone; which one is not known.</extracomment>
        <translation>Otro programa está usando el teléfono.
Cierre ese programa o expulse el teléfono desde él.</translation>
    </message>
    <message id="MSG_PhoneInUseBy">
        <source>Another program, %1, is using your phone.
Quit that program, or eject the phone there.</source>
        <extracomment>In place of the welcome: another program has the phone. %1 is its name.</extracomment>
        <translation>Otro programa, %1, está usando el teléfono.
Cierre ese programa o expulse el teléfono desde él.</translation>
    </message>
    <message id="MSG_PhoneNotAnswering">
        <source>Your phone doesn’t answer.
Unlock it. If that doesn’t help, unplug it and plug it in again.</source>
        <extracomment>In place of the welcome: the phone does not answer.</extracomment>
        <translation>El teléfono no responde.
Desbloquéelo. Si no sirve, desconéctelo y vuelva a conectarlo.</translation>
    </message>
    <message id="MSG_SuspendReason">
        <source>Files are being copied</source>
        <extracomment>Shown by the desktop as the reason why the computer is kept awake.</extracomment>
        <translation>Se están copiando archivos</translation>
    </message>
    <message id="menu_file">
        <source>&amp;File</source>
        <extracomment>Menu bar. “&amp;” stands before the letter that opens the menu with Alt.</extracomment>
        <translation>&amp;Archivo</translation>
    </message>
    <message id="menu_file_new_folder">
        <source>&amp;New Folder…</source>
        <extracomment>File menu.</extracomment>
        <translation>&amp;Nueva carpeta…</translation>
    </message>
    <message id="menu_file_upload">
        <source>&amp;Upload…</source>
        <extracomment>File menu: copies files of the computer to the phone.</extracomment>
        <translation>&amp;Subir al teléfono…</translation>
    </message>
    <message id="menu_file_upload_folder">
        <source>Upload F&amp;older…</source>
        <extracomment>File menu: copies a folder of the computer to the phone.</extracomment>
        <translation>Subir una c&amp;arpeta…</translation>
    </message>
    <message id="menu_file_copy_to">
        <source>&amp;Copy to…</source>
        <extracomment>File menu: copies the selected items from the phone to a folder of the computer.</extracomment>
        <translation>&amp;Copiar en…</translation>
    </message>
    <message id="menu_file_cancel_transfer">
        <source>Cancel &amp;Transfer</source>
        <extracomment>File menu, while files are copied.</extracomment>
        <translation>Cancelar la &amp;transferencia</translation>
    </message>
    <message id="menu_file_quit">
        <source>&amp;Quit</source>
        <extracomment>File menu.</extracomment>
        <translation>Sa&amp;lir</translation>
    </message>
    <message id="menu_edit">
        <source>&amp;Edit</source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;Editar</translation>
    </message>
    <message id="menu_edit_rename">
        <source>&amp;Rename…</source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;Renombrar…</translation>
    </message>
    <message id="menu_edit_delete">
        <source>&amp;Delete</source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;Eliminar</translation>
    </message>
    <message id="menu_edit_select_all">
        <source>Select &amp;All</source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;Seleccionar todo</translation>
    </message>
    <message id="menu_go">
        <source>&amp;Go</source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;Ir</translation>
    </message>
    <message id="menu_go_open">
        <source>&amp;Open</source>
        <extracomment>Go menu: enters the selected folder.</extracomment>
        <translation>&amp;Abrir</translation>
    </message>
    <message id="menu_go_back">
        <source>&amp;Back</source>
        <extracomment>Go menu: to the parent folder.</extracomment>
        <translation>A&amp;trás</translation>
    </message>
    <message id="menu_go_next">
        <source>&amp;Forward</source>
        <extracomment>Go menu: undoes Back.</extracomment>
        <translation>A&amp;delante</translation>
    </message>
    <message id="menu_go_storage_1">
        <source>Storage &amp;1 (%1)</source>
        <extracomment>Go menu: the first storage of the phone. %1 is its name.</extracomment>
        <translation>Almacenamiento &amp;1 (%1)</translation>
    </message>
    <message id="menu_go_storage_2">
        <source>Storage &amp;2 (%1)</source>
        <extracomment>Go menu: the second storage of the phone. %1 is its name.</extracomment>
        <translation>Almacenamiento &amp;2 (%1)</translation>
    </message>
    <message id="menu_view">
        <source>&amp;View</source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;Ver</translation>
    </message>
    <message id="menu_view_reload">
        <source>&amp;Reload</source>
        <extracomment>View menu: lists the folder anew.</extracomment>
        <translation>&amp;Recargar</translation>
    </message>
    <message id="menu_view_sort">
        <source>&amp;Sort By</source>
        <extracomment>View menu; its entries are the columns' headings.</extracomment>
        <translation>&amp;Ordenar por</translation>
    </message>
    <message id="menu_view_expand">
        <source>&amp;Expand</source>
        <extracomment>View menu: shows what the selected folder holds, in place.</extracomment>
        <translation>&amp;Expandir</translation>
    </message>
    <message id="menu_view_collapse">
        <source>&amp;Collapse</source>
        <extracomment>View menu: undoes Expand.</extracomment>
        <translation>&amp;Contraer</translation>
    </message>
    <message id="menu_view_last_transfer">
        <source>&amp;Last Transfer</source>
        <extracomment>View menu: lists what became of each file of the last copy.</extracomment>
        <translation>Última &amp;transferencia</translation>
    </message>
    <message id="menu_help">
        <source>&amp;Help</source>
        <extracomment>Menu bar.</extracomment>
        <translation>A&amp;yuda</translation>
    </message>
    <message id="menu_help_keys">
        <source>&amp;Keyboard Shortcuts</source>
        <extracomment>Help menu: shows the commands of the menus with their keys.</extracomment>
        <translation>Atajos de &amp;teclado</translation>
    </message>
    <message id="menu_help_about">
        <source>&amp;About MTP Browser</source>
        <extracomment>Help menu.</extracomment>
        <translation>&amp;Acerca de MTP Browser</translation>
    </message>
    <message id="about_description">
        <source>Browse the files on your Android phone over USB.</source>
        <extracomment>About box.</extracomment>
        <translation>Explore los archivos de su teléfono Android por USB.</translation>
    </message>
    <message id="about_version">
        <source>Version %1</source>
        <extracomment>About box. %1 is a version number.</extracomment>
        <translation>Versión %1</translation>
    </message>
    <message id="accessible_back">
        <source>Back</source>
        <extracomment>Toolbar button.</extracomment>
        <translation>Atrás</translation>
    </message>
    <message id="accessible_next">
        <source>Forward</source>
        <extracomment>Toolbar button.</extracomment>
        <translation>Adelante</translation>
    </message>
    <message id="accessible_toolbar">
        <source>Toolbar</source>
        <extracomment>What a screen reader calls the row of buttons.</extracomment>
        <translation>Barra de herramientas</translation>
    </message>
    <message id="accessible_path">
        <source>Path</source>
        <extracomment>What a screen reader calls the line with the folder's path.</extracomment>
        <translation>Ruta</translation>
    </message>
    <message id="accessible_files">
        <source>Files and folders</source>
        <extracomment>What a screen reader calls the tree.</extracomment>
        <translation>Archivos y carpetas</translation>
    </message>
    <message id="accessible_columns">
        <source>Column headings</source>
        <extracomment>What a screen reader calls the tree's header.</extracomment>
        <translation>Encabezados de columna</translation>
    </message>
    <message id="accessible_folder">
        <source>Folder</source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>Carpeta</translation>
    </message>
    <message id="accessible_file">
        <source>File</source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>Archivo</translation>
    </message>
    <message id="accessible_sorted_ascending">
        <source>Sorted ascending</source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>Orden ascendente</translation>
    </message>
    <message id="accessible_sorted_descending">
        <source>Sorted descending</source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>Orden descendente</translation>
    </message>
    <message id="accessible_progress_panel">
        <source>Transfer</source>
        <extracomment>What a screen reader calls the progress panel.</extracomment>
        <translation>Transferencia</translation>
    </message>
    <message id="accessible_progress_bar">
        <source>Transfer progress</source>
        <extracomment>What a screen reader calls the bar.</extracomment>
        <translation>Progreso de la transferencia</translation>
    </message>
    <message id="accessible_cancel_transfer">
        <source>Cancel transfer</source>
        <extracomment>Button of the progress panel, which shows a picture only.</extracomment>
        <translation>Cancelar la transferencia</translation>
    </message>
    <message id="accessible_loading">
        <source>Loading</source>
        <extracomment>What a screen reader says while a folder is listed.</extracomment>
        <translation>Cargando</translation>
    </message>
    <message id="accessible_waiting">
        <source>Please wait</source>
        <extracomment>What a screen reader says of a window that takes no input for the moment.</extracomment>
        <translation>Espere, por favor</translation>
    </message>
</context>
</TS>
