<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja" sourcelanguage="en">
<context>
    <name></name>
    <message id="MNU_AddNewFolder">
        <source>New Folder</source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>新規フォルダー</translation>
    </message>
    <message id="MNU_EditName">
        <source>Rename</source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>名前を変更</translation>
    </message>
    <message id="MNU_FileName">
        <source>Name</source>
        <extracomment>Column heading.</extracomment>
        <translation>名前</translation>
    </message>
    <message id="MNU_DateOfModify">
        <source>Date Modified</source>
        <extracomment>Column heading; at most some 125 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>更新日時</translation>
    </message>
    <message id="MSG_FileSize">
        <source>Size</source>
        <extracomment>Column heading; at most some 70 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>サイズ</translation>
    </message>
    <message id="MNU_CheckboxText">
        <source>Don’t ask me again</source>
        <extracomment>Check box in the question before deleting.</extracomment>
        <translation>次回から確認しない</translation>
    </message>
    <message id="MSG_DeleteFile">
        <source>The selected items will be deleted from your phone. This can’t be undone.</source>
        <extracomment>Question before deleting; the heading is MNU_Delete.</extracomment>
        <translation>選択した項目をスマートフォンから削除します。この操作は取り消せません。</translation>
    </message>
    <message id="MNU_DuplicateTransferMTP">
        <source>%1 already exists here.</source>
        <extracomment>Question when a name is taken. %1 is the name, already in quotation marks.</extracomment>
        <translation>%1はすでにここにあります。</translation>
    </message>
    <message id="MSG_DuplicateTransferMTPDescription">
        <source>Do you want to replace it with the one you’re copying?</source>
        <extracomment>Below MNU_DuplicateTransferMTP; the buttons are Replace, Replace All and Skip.</extracomment>
        <translation>コピーする項目で置き換えますか？</translation>
    </message>
    <message id="MSG_DuplicateTransferFolderDescription">
        <source>Everything in the folder on the phone will be deleted.</source>
        <extracomment>Below MSG_DuplicateTransferMTPDescription, when the name is that of a folder on the phone.</extracomment>
        <translation>スマートフォン上のフォルダの中身はすべて削除されます。</translation>
    </message>
    <message id="MNU_PrepareToSomething">
        <source>Getting ready…</source>
        <extracomment>Progress panel, before the first file.</extracomment>
        <translation>準備中…</translation>
    </message>
    <message id="MSG_DropToDelete">
        <source>Drop here to delete</source>
        <extracomment>Where rows can be dropped to delete them from the phone; shown while they are dragged.</extracomment>
        <translation>ここにドロップして削除</translation>
    </message>
    <message id="MSG_NowhereToDrop">
        <source>The items cannot be copied there.</source>
        <extracomment>Shown after rows were dropped on something that tells no folder to copy to.</extracomment>
        <translation>項目をそこにコピーできません。</translation>
    </message>
    <message id="MSG_NowhereToDropDescription">
        <source>Drop them on a folder of a file manager, or choose a folder to copy them to.</source>
        <extracomment>Below MSG_NowhereToDrop.</extracomment>
        <translation>ファイルマネージャーのフォルダーにドロップするか、コピー先のフォルダーを選択してください。</translation>
    </message>
    <message id="MSG_ChooseCopyFolder">
        <source>Choose a Folder to Copy To</source>
        <extracomment>Title of the dialog that asks for the folder of the computer to copy to.</extracomment>
        <translation>コピー先のフォルダーを選択</translation>
    </message>
    <message id="MSG_BnRTransfering">
        <source>Copying</source>
        <extracomment>Progress panel, between the counter and the file's name: “3/12 Copying photo.jpg”.</extracomment>
        <translation>コピー中:</translation>
    </message>
    <message id="MSG_TransferResult">
        <source>Result</source>
        <extracomment>Last Transfer: heading of the column that tells what each entry came to.</extracomment>
        <translation>結果</translation>
    </message>
    <message id="MSG_TransferCopied">
        <source>Copied</source>
        <extracomment>Last Transfer: of an entry, and before a number (“Copied: 3”).</extracomment>
        <translation>コピー済み</translation>
    </message>
    <message id="MSG_TransferSkipped">
        <source>Skipped</source>
        <extracomment>Last Transfer: the user did not want it, or it is nothing that can be copied. Also before a number.</extracomment>
        <translation>スキップ</translation>
    </message>
    <message id="MSG_TransferFailed">
        <source>Failed</source>
        <extracomment>Last Transfer: before the reason, and before a number.</extracomment>
        <translation>失敗</translation>
    </message>
    <message id="MSG_TransferNotCopied">
        <source>Not copied</source>
        <extracomment>Last Transfer: the transfer ended before this entry was whole. Also before a number.</extracomment>
        <translation>未コピー</translation>
    </message>
    <message id="MSG_TransferNone">
        <source>Nothing has been copied yet.</source>
        <extracomment>Last Transfer: instead of the list.</extracomment>
        <translation>まだ何もコピーされていません。</translation>
    </message>
    <message id="MSG_WelcomToVBX2">
        <source>Connect your phone with a USB cable.
Then unlock it and choose “File transfer” in its USB notification.
If nothing happens, try another cable: some only charge.</source>
        <extracomment>The window while no phone is attached. “File transfer” is what Android calls this choice in your language.</extracomment>
        <translation>USBケーブルでスマートフォンを接続してください。
ロックを解除し、USBの通知で「ファイル転送」を選んでください。
何も起きないときは別のケーブルをお試しください。充電専用のものがあります。</translation>
    </message>
    <message id="MSG_PhoneLocked">
        <source>Your phone is locked or only charging.
Unlock it and choose “File transfer” in its USB notification.</source>
        <extracomment>In place of the welcome: a phone is attached and shows no storage.</extracomment>
        <translation>スマートフォンがロック中か、充電のみの状態です。
ロックを解除し、USBの通知で「ファイル転送」を選んでください。</translation>
    </message>
    <message id="MSG_PhonePictureTransfer">
        <source>Your phone is set to transfer pictures only.
Choose “File transfer” in its USB notification.</source>
        <extracomment>In place of the welcome: the phone is in picture-transfer mode. “File transfer” as in MSG_WelcomToVBX2.</extracomment>
        <translation>スマートフォンが画像の転送だけに設定されています。
USBの通知で「ファイル転送」を選んでください。</translation>
    </message>
    <message id="MSG_PhoneNoPermission">
        <source>You don’t have permission to use this phone.
Plug it in again. If that doesn’t help, ask your administrator for access to it.</source>
        <extracomment>In place of the welcome: the system does not let the user open the phone.</extracomment>
        <translation>このスマートフォンを使う権限がありません。
つなぎ直してください。だめな場合は管理者にアクセスを依頼してください。</translation>
    </message>
    <message id="MSG_PhoneInUse">
        <source>Another program is using your phone.
Quit that program, or eject the phone there.</source>
        <extracomment>In place of the welcome: another program has the phone; which one is not known.</extracomment>
        <translation>ほかのプログラムがスマートフォンを使用中です。
そのプログラムを終了するか、そこでスマートフォンを取り出してください。</translation>
    </message>
    <message id="MSG_PhoneInUseBy">
        <source>Another program, %1, is using your phone.
Quit that program, or eject the phone there.</source>
        <extracomment>In place of the welcome: another program has the phone. %1 is its name.</extracomment>
        <translation>ほかのプログラム（%1）がスマートフォンを使用中です。
そのプログラムを終了するか、そこでスマートフォンを取り出してください。</translation>
    </message>
    <message id="MSG_PhoneNotAnswering">
        <source>Your phone doesn’t answer.
Unlock it. If that doesn’t help, unplug it and plug it in again.</source>
        <extracomment>In place of the welcome: the phone does not answer.</extracomment>
        <translation>スマートフォンが応答しません。
ロックを解除してください。だめな場合は、抜いてからつなぎ直してください。</translation>
    </message>
    <message id="MSG_SuspendReason">
        <source>Files are being copied</source>
        <extracomment>Shown by the desktop as the reason why the computer is kept awake.</extracomment>
        <translation>ファイルをコピーしています</translation>
    </message>
    <message id="menu_file">
        <source>&amp;File</source>
        <extracomment>Menu bar. “&amp;” stands before the letter that opens the menu with Alt.</extracomment>
        <translation>ファイル(&amp;F)</translation>
    </message>
    <message id="menu_file_new_folder">
        <source>&amp;New Folder…</source>
        <extracomment>File menu.</extracomment>
        <translation>新規フォルダー(&amp;N)…</translation>
    </message>
    <message id="menu_file_upload">
        <source>&amp;Upload…</source>
        <extracomment>File menu: copies files of the computer to the phone.</extracomment>
        <translation>スマートフォンにアップロード(&amp;U)…</translation>
    </message>
    <message id="menu_file_upload_folder">
        <source>Upload F&amp;older…</source>
        <extracomment>File menu: copies a folder of the computer to the phone.</extracomment>
        <translation>フォルダーをアップロード(&amp;O)…</translation>
    </message>
    <message id="menu_file_copy_to">
        <source>&amp;Copy to…</source>
        <extracomment>File menu: copies the selected items from the phone to a folder of the computer.</extracomment>
        <translation>フォルダーにコピー(&amp;C)…</translation>
    </message>
    <message id="menu_file_cancel_transfer">
        <source>Cancel &amp;Transfer</source>
        <extracomment>File menu, while files are copied.</extracomment>
        <translation>転送をキャンセル(&amp;T)</translation>
    </message>
    <message id="menu_file_quit">
        <source>&amp;Quit</source>
        <extracomment>File menu.</extracomment>
        <translation>終了(&amp;Q)</translation>
    </message>
    <message id="menu_edit">
        <source>&amp;Edit</source>
        <extracomment>Menu bar.</extracomment>
        <translation>編集(&amp;E)</translation>
    </message>
    <message id="menu_edit_rename">
        <source>&amp;Rename…</source>
        <extracomment>Edit menu.</extracomment>
        <translation>名前を変更(&amp;R)…</translation>
    </message>
    <message id="menu_edit_delete">
        <source>&amp;Delete</source>
        <extracomment>Edit menu.</extracomment>
        <translation>削除(&amp;D)</translation>
    </message>
    <message id="menu_edit_select_all">
        <source>Select &amp;All</source>
        <extracomment>Edit menu.</extracomment>
        <translation>すべて選択(&amp;A)</translation>
    </message>
    <message id="menu_go">
        <source>&amp;Go</source>
        <extracomment>Menu bar.</extracomment>
        <translation>移動(&amp;G)</translation>
    </message>
    <message id="menu_go_open">
        <source>&amp;Open</source>
        <extracomment>Go menu: enters the selected folder.</extracomment>
        <translation>開く(&amp;O)</translation>
    </message>
    <message id="menu_go_back">
        <source>&amp;Back</source>
        <extracomment>Go menu: to the parent folder.</extracomment>
        <translation>戻る(&amp;B)</translation>
    </message>
    <message id="menu_go_next">
        <source>&amp;Forward</source>
        <extracomment>Go menu: undoes Back.</extracomment>
        <translation>進む(&amp;F)</translation>
    </message>
    <message id="menu_go_storage_1">
        <source>Storage &amp;1 (%1)</source>
        <extracomment>Go menu: the first storage of the phone. %1 is its name.</extracomment>
        <translation>ストレージ &amp;1 (%1)</translation>
    </message>
    <message id="menu_go_storage_2">
        <source>Storage &amp;2 (%1)</source>
        <extracomment>Go menu: the second storage of the phone. %1 is its name.</extracomment>
        <translation>ストレージ &amp;2 (%1)</translation>
    </message>
    <message id="menu_view">
        <source>&amp;View</source>
        <extracomment>Menu bar.</extracomment>
        <translation>表示(&amp;V)</translation>
    </message>
    <message id="menu_view_reload">
        <source>&amp;Reload</source>
        <extracomment>View menu: lists the folder anew.</extracomment>
        <translation>再読み込み(&amp;R)</translation>
    </message>
    <message id="menu_view_sort">
        <source>&amp;Sort By</source>
        <extracomment>View menu; its entries are the columns' headings.</extracomment>
        <translation>並べ替え(&amp;S)</translation>
    </message>
    <message id="menu_view_expand">
        <source>&amp;Expand</source>
        <extracomment>View menu: shows what the selected folder holds, in place.</extracomment>
        <translation>展開(&amp;E)</translation>
    </message>
    <message id="menu_view_collapse">
        <source>&amp;Collapse</source>
        <extracomment>View menu: undoes Expand.</extracomment>
        <translation>折りたたむ(&amp;C)</translation>
    </message>
    <message id="menu_view_last_transfer">
        <source>&amp;Last Transfer</source>
        <extracomment>View menu: lists what became of each file of the last copy.</extracomment>
        <translation>前回の転送(&amp;L)</translation>
    </message>
    <message id="menu_help">
        <source>&amp;Help</source>
        <extracomment>Menu bar.</extracomment>
        <translation>ヘルプ(&amp;H)</translation>
    </message>
    <message id="menu_help_keys">
        <source>&amp;Keyboard Shortcuts</source>
        <extracomment>Help menu: shows the commands of the menus with their keys.</extracomment>
        <translation>キーボードショートカット(&amp;K)</translation>
    </message>
    <message id="menu_help_about">
        <source>&amp;About MTP Browser</source>
        <extracomment>Help menu.</extracomment>
        <translation>MTP Browser について(&amp;A)</translation>
    </message>
    <message id="about_description">
        <source>Browse the files on your Android phone over USB.</source>
        <extracomment>About box.</extracomment>
        <translation>Androidスマートフォン内のファイルをUSB経由で閲覧できます。</translation>
    </message>
    <message id="about_version">
        <source>Version %1</source>
        <extracomment>About box. %1 is a version number.</extracomment>
        <translation>バージョン %1</translation>
    </message>
    <message id="accessible_back">
        <source>Back</source>
        <extracomment>Toolbar button.</extracomment>
        <translation>戻る</translation>
    </message>
    <message id="accessible_next">
        <source>Forward</source>
        <extracomment>Toolbar button.</extracomment>
        <translation>進む</translation>
    </message>
    <message id="accessible_toolbar">
        <source>Toolbar</source>
        <extracomment>What a screen reader calls the row of buttons.</extracomment>
        <translation>ツールバー</translation>
    </message>
    <message id="accessible_path">
        <source>Path</source>
        <extracomment>What a screen reader calls the line with the folder's path.</extracomment>
        <translation>パス</translation>
    </message>
    <message id="accessible_files">
        <source>Files and folders</source>
        <extracomment>What a screen reader calls the tree.</extracomment>
        <translation>ファイルとフォルダー</translation>
    </message>
    <message id="accessible_columns">
        <source>Column headings</source>
        <extracomment>What a screen reader calls the tree's header.</extracomment>
        <translation>列見出し</translation>
    </message>
    <message id="accessible_folder">
        <source>Folder</source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>フォルダー</translation>
    </message>
    <message id="accessible_file">
        <source>File</source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>ファイル</translation>
    </message>
    <message id="accessible_sorted_ascending">
        <source>Sorted ascending</source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>昇順</translation>
    </message>
    <message id="accessible_sorted_descending">
        <source>Sorted descending</source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>降順</translation>
    </message>
    <message id="accessible_progress_panel">
        <source>Transfer</source>
        <extracomment>What a screen reader calls the progress panel.</extracomment>
        <translation>転送</translation>
    </message>
    <message id="accessible_progress_bar">
        <source>Transfer progress</source>
        <extracomment>What a screen reader calls the bar.</extracomment>
        <translation>転送の進行状況</translation>
    </message>
    <message id="accessible_cancel_transfer">
        <source>Cancel transfer</source>
        <extracomment>Button of the progress panel, which shows a picture only.</extracomment>
        <translation>転送をキャンセル</translation>
    </message>
    <message id="accessible_loading">
        <source>Loading</source>
        <extracomment>What a screen reader says while a folder is listed.</extracomment>
        <translation>読み込み中</translation>
    </message>
    <message id="accessible_waiting">
        <source>Please wait</source>
        <extracomment>What a screen reader says of a window that takes no input for the moment.</extracomment>
        <translation>お待ちください</translation>
    </message>
</context>
</TS>
