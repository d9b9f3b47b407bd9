<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es" sourcelanguage="en">
<context>
    <name></name>
    <message id="FUS_MNU_Cancel">
        <source>Cancel</source>
        <extracomment>Button.</extracomment>
        <translation>Cancelar</translation>
    </message>
    <message id="MNU_Confirm">
        <source>OK</source>
        <extracomment>Button.</extracomment>
        <translation>Aceptar</translation>
    </message>
    <message id="MNU_Delete">
        <source>Delete</source>
        <extracomment>Menu entry, and the heading of the question before deleting.</extracomment>
        <translation>Eliminar</translation>
    </message>
    <message id="MNU_Replace">
        <source>Replace</source>
        <extracomment>Button.</extracomment>
        <translation>Reemplazar</translation>
    </message>
    <message id="MNU_ReplaceAll">
        <source>Replace All</source>
        <extracomment>Button.</extracomment>
        <translation>Reemplazar todo</translation>
    </message>
    <message id="MNU_Skip">
        <source>Skip</source>
        <extracomment>Button.</extracomment>
        <translation>Omitir</translation>
    </message>
    <message id="BTUI_Delet_Window_Close">
        <source>Delete without asking</source>
        <extracomment>Name of the setting that switches the question off.</extracomment>
        <translation>Eliminar sin preguntar</translation>
    </message>
    <message id="MNU_RestoreFromThirdParty4">
        <source>Restore from iTunes</source>
        <extracomment>Menu entry.</extracomment>
        <translation>Restaurar desde iTunes</translation>
    </message>
    <message id="MSG_FoundiTunesData">
        <source>iTunes backups found on this computer</source>
        <extracomment>Headline.</extracomment>
        <translation>Copias de seguridad de iTunes encontradas en este equipo</translation>
    </message>
    <message id="MSG_FoundiTunesData2">
        <source>Do you want to copy the data of an iTunes backup to your phone?</source>
        <extracomment>Question below the headline.</extracomment>
        <translation>¿Quiere copiar los datos de una copia de seguridad de iTunes al teléfono?</translation>
    </message>
    <message id="MSG_RestoreGuideForiTunes3">
        <source>Choose the iTunes backup you want to restore. Keep your phone connected until it is done.</source>
        <extracomment>Guide.</extracomment>
        <translation>Elija la copia de seguridad de iTunes que quiere restaurar. No desconecte el teléfono hasta que termine.</translation>
    </message>
    <message id="MSG_RestoreCompletediTunesVBQ">
        <source>The data of your iTunes backup is now on your phone.</source>
        <extracomment>Final message.</extracomment>
        <translation>Los datos de la copia de seguridad de iTunes ya están en el teléfono.</translation>
    </message>
</context>
</TS>
