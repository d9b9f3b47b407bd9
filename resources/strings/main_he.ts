<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="he" sourcelanguage="en">
<context>
    <name></name>
    <message id="MNU_AddNewFolder">
        <source>New Folder</source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>תיקייה חדשה</translation>
    </message>
    <message id="MNU_EditName">
        <source>Rename</source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>שינוי שם</translation>
    </message>
    <message id="MNU_FileName">
        <source>Name</source>
        <extracomment>Column heading.</extracomment>
        <translation>שם</translation>
    </message>
    <message id="MNU_DateOfModify">
        <source>Date Modified</source>
        <extracomment>Column heading; at most some 125 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>תאריך שינוי</translation>
    </message>
    <message id="MSG_FileSize">
        <source>Size</source>
        <extracomment>Column heading; at most some 70 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>גודל</translation>
    </message>
    <message id="MNU_CheckboxText">
        <source>Don’t ask me again</source>
        <extracomment>Check box in the question before deleting.</extracomment>
        <translation>לא לשאול שוב</translation>
    </message>
    <message id="MSG_DeleteFile">
        <source>The selected items will be deleted from your phone. This can’t be undone.</source>
        <extracomment>Question before deleting; the heading is MNU_Delete.</extracomment>
        <translation>הפריטים שנבחרו יימחקו מהטלפון. לא ניתן לבטל פעולה זו.</translation>
    </message>
    <message id="MNU_DuplicateTransferMTP">
        <source>%1 already exists here.</source>
        <extracomment>Question when a name is taken. %1 is the name, already in quotation marks.</extracomment>
        <translation>כבר קיים כאן פריט בשם %1.</translation>
    </message>
    <message id="MSG_DuplicateTransferMTPDescription">
        <source>Do you want to replace it with the one you’re copying?</source>
        <extracomment>Below MNU_DuplicateTransferMTP; the buttons are Replace, Replace All and Skip.</extracomment>
        <translation>האם להחליף אותו בפריט המועתק?</translation>
    </message>
    <message id="MSG_DuplicateTransferFolderDescription">
        <source>Everything in the folder on the phone will be deleted.</source>
        <extracomment>Below MSG_DuplicateTransferMTPDescription, when the name is that of a folder on the phone.</extracomment>
        <translation>כל מה שבתיקייה בטלפון יימחק.</translation>
    </message>
    <message id="MNU_PrepareToSomething">
        <source>Getting ready…</source>
        <extracomment>Progress panel, before the first file.</extracomment>
        <translation>בהכנה…</translation>
    </message>
    <message id="MSG_DropToDelete">
        <source>Drop here to delete</source>
        <extracomment>Where rows can be dropped to delete them from the phone; shown while they are dragged.</extracomment>
        <translation>יש לשחרר כאן כדי למחוק</translation>
    </message>
    <message id="MSG_NowhereToDrop">
        <source>The items cannot be copied there.</source>
        <extracomment>Shown after rows were dropped on something that tells no folder to copy to.</extracomment>
        <translation>לא ניתן להעתיק את הפריטים לשם.</translation>
    </message>
    <message id="MSG_NowhereToDropDescription">
        <source>Drop them on a folder of a file manager, or choose a folder to copy them to.</source>
        <extracomment>Below MSG_NowhereToDrop.</extracomment>
        <translation>יש לשחרר אותם על תיקייה במנהל קבצים, או לבחור תיקייה להעתקה.</translation>
    </message>
    <message id="MSG_ChooseCopyFolder">
        <source>Choose a Folder to Copy To</source>
        <extracomment>Title of the dialog that asks for the folder of the computer to copy to.</extracomment>
        <translation>בחירת תיקיית יעד</translation>
    </message>
    <message id="MSG_BnRTransfering">
        <source>Copying</source>
        <extracomment>Progress panel, between the counter and the file's name: “3/12 Copying photo.jpg”.</extracomment>
        <translation>העתקת</translation>
    </message>
    <message id="MSG_TransferResult">
        <source>Result</source>
        <extracomment>Last Transfer: heading of the column that tells what each entry came to.</extracomment>
        <translation>תוצאה</translation>
    </message>
    <message id="MSG_TransferCopied">
        <source>Copied</source>
        <extracomment>Last Transfer: of an entry, and before a number (“Copied: 3”).</extracomment>
        <translation>הועתק</translation>
    </message>
    <message id="MSG_TransferSkipped">
        <source>Skipped</source>
        <extracomment>Last Transfer: the user did not want it, or it is nothing that can be copied. Also before a number.</extracomment>
        <translation>דולג</translation>
    </message>
    <message id="MSG_TransferFailed">
        <source>Failed</source>
        <extracomment>Last Transfer: before the reason, and before a number.</extracomment>
        <translation>נכשל</translation>
    </message>
    <message id="MSG_TransferNotCopied">
        <source>Not copied</source>
        <extracomment>Last Transfer: the transfer ended before this entry was whole. Also before a number.</extracomment>
        <translation>לא הועתק</translation>
    </message>
    <message id="MSG_TransferNone">
        <source>Nothing has been copied yet.</source>
        <extracomment>Last Transfer: instead of the list.</extracomment>
        <translation>עדיין לא הועתק דבר.</translation>
    </message>
    <message id="MSG_WelcomToVBX2">
        <source>Connect your phone with a USB cable.
Then unlock it and choose “File transfer” in its USB notification.
If nothing happens, try another cable: some only charge.</source>
        <extracomment>The window while no phone is attached. “File transfer” is what Android calls this choice in your language.</extracomment>
        <translation>יש לחבר את הטלפון בכבל USB.
לאחר מכן יש לבטל את נעילתו ולבחור „העברת קבצים” בהתראת ה-USB שלו.
אם לא קורה דבר, כדאי לנסות כבל אחר: יש כבלים שרק טוענים.</translation>
    </message>
    <message id="MSG_PhoneLocked">
        <source>Your phone is locked or only charging.
Unlock it and choose “File transfer” in its USB notification.</source>
        <extracomment>In place of the welcome: a phone is attached and shows no storage.</extracomment>
        <translation>הטלפון נעול או רק נטען.
יש לבטל את נעילתו ולבחור „העברת קבצים” בהתראת ה-USB שלו.</translation>
    </message>
    <message id="MSG_PhonePictureTransfer">
        <source>Your phone is set to transfer pictures only.
Choose “File transfer” in its USB notification.</source>
        <extracomment>In place of the welcome: the phone is in picture-transfer mode. “File transfer” as in MSG_WelcomToVBX2.</extracomment>
        <translation>הטלפון מוגדר להעברת תמונות בלבד.
יש לבחור „העברת קבצים” בהתראת ה-USB שלו.</translation>
    </message>
    <message id="MSG_PhoneNoPermission">
        <source>You don’t have permission to use this phone.
Plug it in again. If that doesn’t help, ask your administrator for access to it.</source>
        <extracomment>In place of the welcome: the system does not let the user open the phone.</extracomment>
        <translation>אין לך הרשאה להשתמש בטלפון הזה.
יש לחבר אותו מחדש. אם זה לא עוזר, יש לבקש גישה ממנהל המערכת.</translation>
    </message>
    <message id="MSG_PhoneInUse">
        <source>Another program is using your phone.
Quit that program, or eject the phone there.</source>
        <extracomment>In place of the welcome: another program has the phone; which one is not known.</extracomment>
        <translation>תוכנית אחרת משתמשת בטלפון.
יש לסגור אותה או להוציא בה את הטלפון.</translation>
    </message>
    <message id="MSG_PhoneInUseBy">
        <source>Another program, %1, is using your phone.
Quit that program, or eject the phone there.</source>
        <extracomment>In place of the welcome: another program has the phone. %1 is its name.</extracomment>
        <translation>תוכנית אחרת, %1, משתמשת בטלפון.
יש לסגור אותה או להוציא בה את הטלפון.</translation>
    </message>
    <message id="MSG_PhoneNotAnswering">
        <source>Your phone doesn’t answer.
Unlock it. If that doesn’t help, unplug it and plug it in again.</source>
        <extracomment>In place of the welcome: the phone does not answer.</extracomment>
        <translation>הטלפון אינו מגיב.
יש לבטל את נעילתו. אם זה לא עוזר, יש לנתק אותו ולחבר מחדש.</translation>
    </message>
    <message id="MSG_SuspendReason">
        <source>Files are being copied</source>
        <extracomment>Shown by the desktop as the reason why the computer is kept awake.</extracomment>
        <translation>קבצים מועתקים</translation>
    </message>
    <message id="menu_file">
        <source>&amp;File</source>
        <extracomment>Menu bar. “&amp;” stands before the letter that opens the menu with Alt.</extracomment>
        <translation>&amp;קובץ</translation>
    </message>
    <message id="menu_file_new_folder">
        <source>&amp;New Folder…</source>
        <extracomment>File menu.</extracomment>
        <translation>תיקייה &amp;חדשה…</translation>
    </message>
    <message id="menu_file_upload">
        <source>&amp;Upload…</source>
        <extracomment>File menu: copies files of the computer to the phone.</extracomment>
        <translation>ה&amp;עלאה לטלפון…</translation>
    </message>
    <message id="menu_file_upload_folder">
        <source>Upload F&amp;older…</source>
        <extracomment>File menu: copies a folder of the computer to the phone.</extracomment>
        <translation>העלאת &amp;תיקייה…</translation>
    </message>
    <message id="menu_file_copy_to">
        <source>&amp;Copy to…</source>
        <extracomment>File menu: copies the selected items from the phone to a folder of the computer.</extracomment>
        <translation>העת&amp;קה אל…</translation>
    </message>
    <message id="menu_file_cancel_transfer">
        <source>Cancel &amp;Transfer</source>
        <extracomment>File menu, while files are copied.</extracomment>
        <translation>&amp;ביטול ההעברה</translation>
    </message>
    <message id="menu_file_quit">
        <source>&amp;Quit</source>
        <extracomment>File menu.</extracomment>
        <translation>י&amp;ציאה</translation>
    </message>
    <message id="menu_edit">
        <source>&amp;Edit</source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;עריכה</translation>
    </message>
    <message id="menu_edit_rename">
        <source>&amp;Rename…</source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;שינוי שם…</translation>
    </message>
    <message id="menu_edit_delete">
        <source>&amp;Delete</source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;מחיקה</translation>
    </message>
    <message id="menu_edit_select_all">
        <source>Select &amp;All</source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;בחירת הכול</translation>
    </message>
    <message id="menu_go">
        <source>&amp;Go</source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;מעבר</translation>
    </message>
    <message id="menu_go_open">
        <source>&amp;Open</source>
        <extracomment>Go menu: enters the selected folder.</extracomment>
        <translation>&amp;פתיחה</translation>
    </message>
    <message id="menu_go_back">
        <source>&amp;Back</source>
        <extracomment>Go menu: to the parent folder.</extracomment>
        <translation>&amp;אחורה</translation>
    </message>
    <message id="menu_go_next">
        <source>&amp;Forward</source>
        <extracomment>Go menu: undoes Back.</extracomment>
        <translation>&amp;קדימה</translation>
    </message>
    <message id="menu_go_storage_1">
        <source>Storage &amp;1 (%1)</source>
        <extracomment>Go menu: the first storage of the phone. %1 is its name.</extracomment>
        <translation>אחסון &amp;1 (%1)</translation>
    </message>
    <message id="menu_go_storage_2">
        <source>Storage &amp;2 (%1)</source>
        <extracomment>Go menu: the second storage of the phone. %1 is its name.</extracomment>
        <translation>אחסון &amp;2 (%1)</translation>
    </message>
    <message id="menu_view">
        <source>&amp;View</source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;תצוגה</translation>
    </message>
    <message id="menu_view_reload">
        <source>&amp;Reload</source>
        <extracomment>View menu: lists the folder anew.</extracomment>
        <translation>&amp;רענון</translation>
    </message>
    <message id="menu_view_sort">
        <source>&amp;Sort By</source>
        <extracomment>View menu; its entries are the columns' headings.</extracomment>
        <translation>&amp;מיון לפי</translation>
    </message>
    <message id="menu_view_expand">
        <source>&amp;Expand</source>
        <extracomment>View menu: shows what the selected folder holds, in place.</extracomment>
        <translation>הר&amp;חבה</translation>
    </message>
    <message id="menu_view_collapse">
        <source>&amp;Collapse</source>
        <extracomment>View menu: undoes Expand.</extracomment>
        <translation>&amp;כיווץ</translation>
    </message>
    <message id="menu_view_last_transfer">
        <source>&amp;Last Transfer</source>
        <extracomment>View menu: lists what became of each file of the last copy.</extracomment>
        <translation>ה&amp;עברה אחרונה</translation>
    </message>
    <message id="menu_help">
        <source>&amp;Help</source>
        <extracomment>Menu bar.</extracomment>
        <translation>ע&amp;זרה</translation>
    </message>
    <message id="menu_help_keys">
        <source>&amp;Keyboard Shortcuts</source>
        <extracomment>Help menu: shows the commands of the menus with their keys.</extracomment>
        <translation>&amp;קיצורי מקשים</translation>
    </message>
    <message id="menu_help_about">
        <source>&amp;About MTP Browser</source>
        <extracomment>Help menu.</extracomment>
        <translation>&amp;אודות MTP Browser</translation>
    </message>
    <message id="about_description">
        <source>Browse the files on your Android phone over USB.</source>
        <extracomment>About box.</extracomment>
        <translation>עיון בקבצים שבטלפון Android דרך USB.</translation>
    </message>
    <message id="about_version">
        <source>Version %1</source>
        <extracomment>About box. %1 is a version number.</extracomment>
        <translation>גרסה %1</translation>
    </message>
    <message id="accessible_back">
        <source>Back</source>
        <extracomment>Toolbar button.</extracomment>
        <translation>אחורה</translation>
    </message>
    <message id="accessible_next">
        <source>Forward</source>
        <extracomment>Toolbar button.</extracomment>
        <translation>קדימה</translation>
    </message>
    <message id="accessible_toolbar">
        <source>Toolbar</source>
        <extracomment>What a screen reader calls the row of buttons.</extracomment>
        <translation>סרגל כלים</translation>
    </message>
    <message id="accessible_path">
        <source>Path</source>
        <extracomment>What a screen reader calls the line with the folder's path.</extracomment>
        <translation>נתיב</translation>
    </message>
    <message id="accessible_files">
        <source>Files and folders</source>
        <extracomment>What a screen reader calls the tree.</extracomment>
        <translation>קבצים ותיקיות</translation>
    </message>
    <message id="accessible_columns">
        <source>Column headings</source>
        <extracomment>What a screen reader calls the tree's header.</extracomment>
        <translation>כותרות העמודות</translation>
    </message>
    <message id="accessible_folder">
        <source>Folder</source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>תיקייה</translation>
    </message>
    <message id="accessible_file">
        <source>File</source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>קובץ</translation>
    </message>
    <message id="accessible_sorted_ascending">
        <source>Sorted ascending</source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>מיון בסדר עולה</translation>
    </message>
    <message id="accessible_sorted_descending">
        <source>Sorted descending</source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>מיון בסדר יורד</translation>
    </message>
    <message id="accessible_progress_panel">
        <source>Transfer</source>
        <extracomment>What a screen reader calls the progress panel.</extracomment>
        <translation>העברה</translation>
    </message>
    <message id="accessible_progress_bar">
        <source>Transfer progress</source>
        <extracomment>What a screen reader calls the bar.</extracomment>
        <translation>התקדמות ההעברה</translation>
    </message>
    <message id="accessible_cancel_transfer">
        <source>Cancel transfer</source>
        <extracomment>Button of the progress panel, which shows a picture only.</extracomment>
        <translation>ביטול ההעברה</translation>
    </message>
    <message id="accessible_loading">
        <source>Loading</source>
        <extracomment>What a screen reader says while a folder is listed.</extracomment>
        <translation>טעינה</translation>
    </message>
    <message id="accessible_waiting">
        <source>Please wait</source>
        <extracomment>What a screen reader says of a window that takes no input for the moment.</extracomment>
        <translation>נא להמתין</translation>
    </message>
</context>
</TS>
