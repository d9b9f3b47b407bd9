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
        <extracomment>Column heading; at most some 125 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>Date Modified</translation>
    </message>
    <message id="MSG_FileSize">
        <source></source>
        <extracomment>Column heading; at most some 70 pixels wide in a bold face of 12 pixels.</extracomment>
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
    <message id="MSG_DuplicateTransferFolderDescription">
        <source></source>
        <extracomment>Below MSG_DuplicateTransferMTPDescription, when the name is that of a folder on the phone.</extracomment>
        <translation>Everything in the folder on the phone will be deleted.</translation>
    </message>
    <message id="MNU_PrepareToSomething">
        <source></source>
        <extracomment>Progress panel, before the first file.</extracomment>
        <translation>Getting ready…</translation>
    </message>
    <message id="MSG_DropToDelete">
        <source></source>
        <extracomment>Where rows can be dropped to delete them from the phone; shown while they are dragged.</extracomment>
        <translation>Drop here to delete</translation>
    </message>
    <message id="MSG_NowhereToDrop">
        <source></source>
        <extracomment>Shown after rows were dropped on something that tells no folder to copy to.</extracomment>
        <translation>The items cannot be copied there.</translation>
    </message>
    <message id="MSG_NowhereToDropDescription">
        <source></source>
        <extracomment>Below MSG_NowhereToDrop.</extracomment>
        <translation>Drop them on a folder of a file manager, or choose a folder to copy them to.</translation>
    </message>
    <message id="MSG_ChooseCopyFolder">
        <source></source>
        <extracomment>Title of the dialog that asks for the folder of the computer to copy to.</extracomment>
        <translation>Choose a Folder to Copy To</translation>
    </message>
    <message id="MSG_BnRTransfering">
        <source></source>
        <extracomment>Progress panel, between the counter and the file's name: “3/12 Copying photo.jpg”.</extracomment>
        <translation>Copying</translation>
    </message>
    <message id="MSG_TransferResult">
        <source></source>
        <extracomment>Last Transfer: heading of the column that tells what each entry came to.</extracomment>
        <translation>Result</translation>
    </message>
    <message id="MSG_TransferCopied">
        <source></source>
        <extracomment>Last Transfer: of an entry, and before a number (“Copied: 3”).</extracomment>
        <translation>Copied</translation>
    </message>
    <message id="MSG_TransferSkipped">
        <source></source>
        <extracomment>Last Transfer: the user did not want it, or it is nothing that can be copied. Also before a number.</extracomment>
        <translation>Skipped</translation>
    </message>
    <message id="MSG_TransferFailed">
        <source></source>
        <extracomment>Last Transfer: before the reason, and before a number.</extracomment>
        <translation>Failed</translation>
    </message>
    <message id="MSG_TransferNotCopied">
        <source></source>
        <extracomment>Last Transfer: the transfer ended before this entry was whole. Also before a number.</extracomment>
        <translation>Not copied</translation>
    </message>
    <message id="MSG_TransferNone">
        <source></source>
        <extracomment>Last Transfer: instead of the list.</extracomment>
        <translation>Nothing has been copied yet.</translation>
    </message>
    <message id="MSG_WelcomToVBX2">
        <source></source>
        <extracomment>The window while no phone is attached. “File transfer” is what Android calls this choice in your language.</extracomment>
        <translation>Connect your phone with a USB cable.
Then unlock it and choose “File transfer” in its USB notification.
If nothing happens, try another cable: some only charge.</translation>
    </message>
    <message id="MSG_PhoneLocked">
        <source></source>
        <extracomment>In place of the welcome: a phone is attached and shows no storage.</extracomment>
        <translation>Your phone is locked or only charging.
Unlock it and choose “File transfer” in its USB notification.</translation>
    </message>
    <message id="MSG_PhonePictureTransfer">
        <source></source>
        <extracomment>In place of the welcome: the phone is in picture-transfer mode. “File transfer” as in MSG_WelcomToVBX2.</extracomment>
        <translation>Your phone is set to transfer pictures only.
Choose “File transfer” in its USB notification.</translation>
    </message>
    <message id="MSG_PhoneNoPermission">
        <source></source>
        <extracomment>In place of the welcome: the system does not let the user open the phone.</extracomment>
        <translation>You don’t have permission to use this phone.
Plug it in again. If that doesn’t help, ask your administrator for access to it.</translation>
    </message>
    <message id="MSG_PhoneInUse">
        <source></source>
        <extracomment>In place of the welcome: another program has the phone; which one is not known.</extracomment>
        <translation>Another program is using your phone.
Quit that program, or eject the phone there.</translation>
    </message>
    <message id="MSG_PhoneInUseBy">
        <source></source>
        <extracomment>In place of the welcome: another program has the phone. %1 is its name.</extracomment>
        <translation>Another program, %1, is using your phone.
Quit that program, or eject the phone there.</translation>
    </message>
    <message id="MSG_PhoneNotAnswering">
        <source></source>
        <extracomment>In place of the welcome: the phone does not answer.</extracomment>
        <translation>Your phone doesn’t answer.
Unlock it. If that doesn’t help, unplug it and plug it in again.</translation>
    </message>
    <message id="MSG_SuspendReason">
        <source></source>
        <extracomment>Shown by the desktop as the reason why the computer is kept awake.</extracomment>
        <translation>Files are being copied</translation>
    </message>
    <message id="menu_file">
        <source></source>
        <extracomment>Menu bar. “&amp;” stands before the letter that opens the menu with Alt.</extracomment>
        <translation>&amp;File</translation>
    </message>
    <message id="menu_file_new_folder">
        <source></source>
        <extracomment>File menu.</extracomment>
        <translation>&amp;New Folder…</translation>
    </message>
    <message id="menu_file_upload">
        <source></source>
        <extracomment>File menu: copies files of the computer to the phone.</extracomment>
        <translation>&amp;Upload…</translation>
    </message>
    <message id="menu_file_upload_folder">
        <source></source>
        <extracomment>File menu: copies a folder of the computer to the phone.</extracomment>
        <translation>Upload F&amp;older…</translation>
    </message>
    <message id="menu_file_copy_to">
        <source></source>
        <extracomment>File menu: copies the selected items from the phone to a folder of the computer.</extracomment>
        <translation>&amp;Copy to…</translation>
    </message>
    <message id="menu_file_cancel_transfer">
        <source></source>
        <extracomment>File menu, while files are copied.</extracomment>
        <translation>Cancel &amp;Transfer</translation>
    </message>
    <message id="menu_file_quit">
        <source></source>
        <extracomment>File menu.</extracomment>
        <translation>&amp;Quit</translation>
    </message>
    <message id="menu_edit">
        <source></source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;Edit</translation>
    </message>
    <message id="menu_edit_rename">
        <source></source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;Rename…</translation>
    </message>
    <message id="menu_edit_delete">
        <source></source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;Delete</translation>
    </message>
    <message id="menu_edit_select_all">
        <source></source>
        <extracomment>Edit menu.</extracomment>
        <translation>Select &amp;All</translation>
    </message>
    <message id="menu_go">
        <source></source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;Go</translation>
    </message>
    <message id="menu_go_open">
        <source></source>
        <extracomment>Go menu: enters the selected folder.</extracomment>
        <translation>&amp;Open</translation>
    </message>
    <message id="menu_go_back">
        <source></source>
        <extracomment>Go menu: to the parent folder.</extracomment>
        <translation>&amp;Back</translation>
    </message>
    <message id="menu_go_next">
        <source></source>
        <extracomment>Go menu: undoes Back.</extracomment>
        <translation>&amp;Forward</translation>
    </message>
    <message id="menu_go_storage_1">
        <source></source>
        <extracomment>Go menu: the first storage of the phone. %1 is its name.</extracomment>
        <translation>Storage &amp;1 (%1)</translation>
    </message>
    <message id="menu_go_storage_2">
        <source></source>
        <extracomment>Go menu: the second storage of the phone. %1 is its name.</extracomment>
        <translation>Storage &amp;2 (%1)</translation>
    </message>
    <message id="menu_view">
        <source></source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;View</translation>
    </message>
    <message id="menu_view_reload">
        <source></source>
        <extracomment>View menu: lists the folder anew.</extracomment>
        <translation>&amp;Reload</translation>
    </message>
    <message id="menu_view_sort">
        <source></source>
        <extracomment>View menu; its entries are the columns' headings.</extracomment>
        <translation>&amp;Sort By</translation>
    </message>
    <message id="menu_view_expand">
        <source></source>
        <extracomment>View menu: shows what the selected folder holds, in place.</extracomment>
        <translation>&amp;Expand</translation>
    </message>
    <message id="menu_view_collapse">
        <source></source>
        <extracomment>View menu: undoes Expand.</extracomment>
        <translation>&amp;Collapse</translation>
    </message>
    <message id="menu_view_last_transfer">
        <source></source>
        <extracomment>View menu: lists what became of each file of the last copy.</extracomment>
        <translation>&amp;Last Transfer</translation>
    </message>
    <message id="menu_help">
        <source></source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;Help</translation>
    </message>
    <message id="menu_help_keys">
        <source></source>
        <extracomment>Help menu: shows the commands of the menus with their keys.</extracomment>
        <translation>&amp;Keyboard Shortcuts</translation>
    </message>
    <message id="menu_help_about">
        <source></source>
        <extracomment>Help menu.</extracomment>
        <translation>&amp;About MTP Browser</translation>
    </message>
    <message id="about_description">
        <source></source>
        <extracomment>About box.</extracomment>
        <translation>Browse the files on your Android phone over USB.</translation>
    </message>
    <message id="about_version">
        <source></source>
        <extracomment>About box. %1 is a version number.</extracomment>
        <translation>Version %1</translation>
    </message>
    <message id="accessible_back">
        <source></source>
        <extracomment>Toolbar button.</extracomment>
        <translation>Back</translation>
    </message>
    <message id="accessible_next">
        <source></source>
        <extracomment>Toolbar button.</extracomment>
        <translation>Forward</translation>
    </message>
    <message id="accessible_toolbar">
        <source></source>
        <extracomment>What a screen reader calls the row of buttons.</extracomment>
        <translation>Toolbar</translation>
    </message>
    <message id="accessible_path">
        <source></source>
        <extracomment>What a screen reader calls the line with the folder's path.</extracomment>
        <translation>Path</translation>
    </message>
    <message id="accessible_files">
        <source></source>
        <extracomment>What a screen reader calls the tree.</extracomment>
        <translation>Files and folders</translation>
    </message>
    <message id="accessible_columns">
        <source></source>
        <extracomment>What a screen reader calls the tree's header.</extracomment>
        <translation>Column headings</translation>
    </message>
    <message id="accessible_folder">
        <source></source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>Folder</translation>
    </message>
    <message id="accessible_file">
        <source></source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>File</translation>
    </message>
    <message id="accessible_sorted_ascending">
        <source></source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>Sorted ascending</translation>
    </message>
    <message id="accessible_sorted_descending">
        <source></source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>Sorted descending</translation>
    </message>
    <message id="accessible_progress_panel">
        <source></source>
        <extracomment>What a screen reader calls the progress panel.</extracomment>
        <translation>Transfer</translation>
    </message>
    <message id="accessible_progress_bar">
        <source></source>
        <extracomment>What a screen reader calls the bar.</extracomment>
        <translation>Transfer progress</translation>
    </message>
    <message id="accessible_cancel_transfer">
        <source></source>
        <extracomment>Button of the progress panel, which shows a picture only.</extracomment>
        <translation>Cancel transfer</translation>
    </message>
    <message id="accessible_loading">
        <source></source>
        <extracomment>What a screen reader says while a folder is listed.</extracomment>
        <translation>Loading</translation>
    </message>
    <message id="accessible_waiting">
        <source></source>
        <extracomment>What a screen reader says of a window that takes no input for the moment.</extracomment>
        <translation>Please wait</translation>
    </message>
</context>
</TS>
