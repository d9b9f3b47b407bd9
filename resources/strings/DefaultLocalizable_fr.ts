<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name></name>
    <message id="FUS_MNU_Cancel">
        <source>Cancel</source>
        <extracomment>Button.</extracomment>
        <translation>Annuler</translation>
    </message>
    <message id="MNU_Confirm">
        <source>OK</source>
        <extracomment>Button.</extracomment>
        <translation>OK</translation>
    </message>
    <message id="MNU_Delete">
        <source>Delete</source>
        <extracomment>Menu entry, and the heading of the question before deleting.</extracomment>
        <translation>Supprimer</translation>
    </message>
    <message id="MNU_Replace">
        <source>Replace</source>
        <extracomment>Button.</extracomment>
        <translation>Remplacer</translation>
    </message>
    <message id="MNU_ReplaceAll">
        <source>Replace All</source>
        <extracomment>Button.</extracomment>
        <translation>Tout remplacer</translation>
    </message>
    <message id="MNU_Skip">
        <source>Skip</source>
        <extracomment>Button.</extracomment>
        <translation>Ignorer</translation>
    </message>
    <message id="BTUI_Delet_Window_Close">
        <source>Delete without asking</source>
        <extracomment>Name of the setting that switches the question off.</extracomment>
        <translation>Supprimer sans confirmation</translation>
    </message>
    <message id="MNU_RestoreFromThirdParty4">
        <source>Restore from iTunes</source>
        <extracomment>Menu entry.</extracomment>
        <translation>Restaurer depuis iTunes</translation>
    </message>
    <message id="MSG_FoundiTunesData">
        <source>iTunes backups found on this computer</source>
        <extracomment>Headline.</extracomment>
        <translation>Sauvegardes iTunes trouvées sur cet ordinateur</translation>
    </message>
    <message id="MSG_FoundiTunesData2">
        <source>Do you want to copy the data of an iTunes backup to your phone?</source>
        <extracomment>Question below the headline.</extracomment>
        <translation>Voulez-vous copier les données d’une sauvegarde iTunes sur votre téléphone ?</translation>
    </message>
    <message id="MSG_RestoreGuideForiTunes3">
        <source>Choose the iTunes backup you want to restore. Keep your phone connected until it is done.</source>
        <extracomment>Guide.</extracomment>
        <translation>Choisissez la sauvegarde iTunes à restaurer. Laissez votre téléphone connecté jusqu’à la fin.</translation>
    </message>
    <message id="MSG_RestoreCompletediTunesVBQ">
        <source>The data of your iTunes backup is now on your phone.</source>
        <extracomment>Final message.</extracomment>
        <translation>Les données de votre sauvegarde iTunes sont maintenant sur votre téléphone.</translation>
    </message>
</context>
</TS>
