<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name></name>
    <message id="MNU_AddNewFolder">
        <source></source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>New Folder</translation>
    </message>
    <message id="MNU_EditName">
        <source></source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>Rename</translation>
    </message>
    <message id="MNU_FileName">
        <source></source>
        <extracomment>Column heading.</extracomment>
        <translation>Name</translation>
    </message>
    <message id="MNU_DateOfModify">
        <source></source>
        <extracomment>Column heading.</extracomment>
        <translation>Date Modified</translation>
    </message>
    <message id="MSG_FileSize">
        <source></source>
        <extracomment>Column heading.</extracomment>
        <translation>Size</translation>
    </message>
    <message id="MNU_CheckboxText">
        <source></source>
        <extracomment>Check box in the question before deleting.</extracomment>
        <translation>Don’t ask me again</translation>
    </message>
    <message id="MSG_DeleteFile">
        <source></source>
        <extracomment>Question before deleting; the heading is MNU_Delete.</extracomment>
        <translation>The selected items will be deleted from your phone. This can’t be undone.</translation>
    </message>
    <message id="MNU_DuplicateTransferMTP">
        <source></source>
        <extracomment>Question when a name is taken. %1 is the name, already in quotation marks.</extracomment>
        <translation>%1 already exists here.</translation>
    </message>
    <message id="MSG_DuplicateTransferMTPDescription">
        <source></source>
        <extracomment>Below MNU_DuplicateTransferMTP; the buttons are Replace, Replace All and Skip.</extracomment>
        <translation>Do you want to replace it with the one you’re copying?</translation>
    </message>
    <message id="MNU_PrepareToSomething">
        <source></source>
        <extracomment>Progress panel, before the first file.</extracomment>
        <translation>Getting ready…</translation>
    </message>
    <message id="MSG_BnRTransfering">
        <source></source>
        <extracomment>Progress panel, between the counter and the file's name: “3/12 Copying photo.jpg”.</extracomment>
        <translation>Copying</translation>
    </message>
    <message id="MSG_WelcomToVBX2">
        <source></source>
        <extracomment>The window while no phone is attached.</extracomment>
        <translation>Connect your phone with a USB cable.
Then unlock it and choose “File transfer” in its USB notification.</translation>
    </message>
</context>
</TS>
