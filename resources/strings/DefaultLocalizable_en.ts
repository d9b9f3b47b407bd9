<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name></name>
    <message id="FUS_MNU_Cancel">
        <source></source>
        <extracomment>Button.</extracomment>
        <translation>Cancel</translation>
    </message>
    <message id="MNU_Confirm">
        <source></source>
        <extracomment>Button.</extracomment>
        <translation>OK</translation>
    </message>
    <message id="MNU_Delete">
        <source></source>
        <extracomment>Menu entry, and the heading of the question before deleting.</extracomment>
        <translation>Delete</translation>
    </message>
    <message id="MNU_Replace">
        <source></source>
        <extracomment>Button.</extracomment>
        <translation>Replace</translation>
    </message>
    <message id="MNU_ReplaceAll">
        <source></source>
        <extracomment>Button.</extracomment>
        <translation>Replace All</translation>
    </message>
    <message id="MNU_Skip">
        <source></source>
        <extracomment>Button.</extracomment>
        <translation>Skip</translation>
    </message>
    <message id="BTUI_Delet_Window_Close">
        <source></source>
        <extracomment>Name of the setting that switches the question off.</extracomment>
        <translation>Delete without asking</translation>
    </message>
    <message id="MNU_RestoreFromThirdParty4">
        <source></source>
        <extracomment>Menu entry.</extracomment>
        <translation>Restore from iTunes</translation>
    </message>
    <message id="MSG_FoundiTunesData">
        <source></source>
        <extracomment>Headline.</extracomment>
        <translation>iTunes backups found on this computer</translation>
    </message>
    <message id="MSG_FoundiTunesData2">
        <source></source>
        <extracomment>Question below the headline.</extracomment>
        <translation>Do you want to copy the data of an iTunes backup to your phone?</translation>
    </message>
    <message id="MSG_RestoreGuideForiTunes3">
        <source></source>
        <extracomment>Guide.</extracomment>
        <translation>Choose the iTunes backup you want to restore. Keep your phone connected until it is done.</translation>
    </message>
    <message id="MSG_RestoreCompletediTunesVBQ">
        <source></source>
        <extracomment>Final message.</extracomment>
        <translation>The data of your iTunes backup is now on your phone.</translation>
    </message>
</context>
</TS>
