<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ko" sourcelanguage="en">
<context>
    <name></name>
    <message id="MNU_AddNewFolder">
        <source>New Folder</source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>새 폴더</translation>
    </message>
    <message id="MNU_EditName">
        <source>Rename</source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>이름 바꾸기</translation>
    </message>
    <message id="MNU_FileName">
        <source>Name</source>
        <extracomment>Column heading.</extracomment>
        <translation>이름</translation>
    </message>
    <message id="MNU_DateOfModify">
        <source>Date Modified</source>
        <extracomment>Column heading; at most some 125 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>수정한 날짜</translation>
    </message>
    <message id="MSG_FileSize">
        <source>Size</source>
        <extracomment>Column heading; at most some 70 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>크기</translation>
    </message>
    <message id="MNU_CheckboxText">
        <source>Don’t ask me again</source>
        <extracomment>Check box in the question before deleting.</extracomment>
        <translation>다시 묻지 않기</translation>
    </message>
    <message id="MSG_DeleteFile">
        <source>The selected items will be deleted from your phone. This can’t be undone.</source>
        <extracomment>Question before deleting; the heading is MNU_Delete.</extracomment>
        <translation>선택한 항목이 휴대전화에서 삭제됩니다. 이 작업은 되돌릴 수 없습니다.</translation>
    </message>
    <message id="MNU_DuplicateTransferMTP">
        <source>%1 already exists here.</source>
        <extracomment>Question when a name is taken. %1 is the name, already in quotation marks.</extracomment>
        <translation>%1이(가) 이미 여기에 있습니다.</translation>
    </message>
    <message id="MSG_DuplicateTransferMTPDescription">
        <source>Do you want to replace it with the one you’re copying?</source>
        <extracomment>Below MNU_DuplicateTransferMTP; the buttons are Replace, Replace All and Skip.</extracomment>
        <translation>복사하는 항목으로 바꾸시겠습니까?</translation>
    </message>
    <message id="MSG_DuplicateTransferFolderDescription">
        <source>Everything in the folder on the phone will be deleted.</source>
        <extracomment>Below MSG_DuplicateTransferMTPDescription, when the name is that of a folder on the phone.</extracomment>
        <translation>휴대폰의 폴더에 있는 모든 항목이 삭제됩니다.</translation>
    </message>
    <message id="MNU_PrepareToSomething">
        <source>Getting ready…</source>
        <extracomment>Progress panel, before the first file.</extracomment>
        <translation>준비 중…</translation>
    </message>
    <message id="MSG_DropToDelete">
        <source>Drop here to delete</source>
        <extracomment>Where rows can be dropped to delete them from the phone; shown while they are dragged.</extracomment>
        <translation>삭제하려면 여기에 놓기</translation>
    </message>
    <message id="MSG_NowhereToDrop">
        <source>The items cannot be copied there.</source>
        <extracomment>Shown after rows were dropped on something that tells no folder to copy to.</extracomment>
        <translation>항목을 그곳에 복사할 수 없습니다.</translation>
    </message>
    <message id="MSG_NowhereToDropDescription">
        <source>Drop them on a folder of a file manager, or choose a folder to copy them to.</source>
        <extracomment>Below MSG_NowhereToDrop.</extracomment>
        <translation>파일 관리자의 폴더에 놓거나 복사할 폴더를 선택하십시오.</translation>
    </message>
    <message id="MSG_ChooseCopyFolder">
        <source>Choose a Folder to Copy To</source>
        <extracomment>Title of the dialog that asks for the folder of the computer to copy to.</extracomment>
        <translation>복사할 폴더 선택</translation>
    </message>
    <message id="MSG_BnRTransfering">
        <source>Copying</source>
        <extracomment>Progress panel, between the counter and the file's name: “3/12 Copying photo.jpg”.</extracomment>
        <translation>복사 중:</translation>
    </message>
    <message id="MSG_TransferResult">
        <source>Result</source>
        <extracomment>Last Transfer: heading of the column that tells what each entry came to.</extracomment>
        <translation>결과</translation>
    </message>
    <message id="MSG_TransferCopied">
        <source>Copied</source>
        <extracomment>Last Transfer: of an entry, and before a number (“Copied: 3”).</extracomment>
        <translation>복사됨</translation>
    </message>
    <message id="MSG_TransferSkipped">
        <source>Skipped</source>
        <extracomment>Last Transfer: the user did not want it, or it is nothing that can be copied. Also before a number.</extracomment>
        <translation>건너뜀</translation>
    </message>
    <message id="MSG_TransferFailed">
        <source>Failed</source>
        <extracomment>Last Transfer: before the reason, and before a number.</extracomment>
        <translation>실패</translation>
    </message>
    <message id="MSG_TransferNotCopied">
        <source>Not copied</source>
        <extracomment>Last Transfer: the transfer ended before this entry was whole. Also before a number.</extracomment>
        <translation>복사되지 않음</translation>
    </message>
    <message id="MSG_TransferNone">
        <source>Nothing has been copied yet.</source>
        <extracomment>Last Transfer: instead of the list.</extracomment>
        <translation>아직 복사한 항목이 없습니다.</translation>
    </message>
    <message id="MSG_WelcomToVBX2">
        <source>Connect your phone with a USB cable.
Then unlock it and choose “File transfer” in its USB notification.
If nothing happens, try another cable: some only charge.</source>
        <extracomment>The window while no phone is attached. “File transfer” is what Android calls this choice in your language.</extracomment>
        <translation>USB 케이블로 휴대전화를 연결하세요.
그런 다음 잠금을 해제하고 USB 알림에서 ‘파일 전송’을 선택하세요.
아무 반응이 없으면 다른 케이블을 써 보세요. 충전만 되는 케이블도 있습니다.</translation>
    </message>
    <message id="MSG_PhoneLocked">
        <source>Your phone is locked or only charging.
Unlock it and choose “File transfer” in its USB notification.</source>
        <extracomment>In place of the welcome: a phone is attached and shows no storage.</extracomment>
        <translation>휴대전화가 잠겨 있거나 충전만 하고 있습니다.
잠금을 해제하고 USB 알림에서 ‘파일 전송’을 선택하세요.</translation>
    </message>
    <message id="MSG_PhonePictureTransfer">
        <source>Your phone is set to transfer pictures only.
Choose “File transfer” in its USB notification.</source>
        <extracomment>In place of the welcome: the phone is in picture-transfer mode. “File transfer” as in MSG_WelcomToVBX2.</extracomment>
        <translation>휴대전화가 사진 전송 전용으로 설정되어 있습니다.
USB 알림에서 ‘파일 전송’을 선택하세요.</translation>
    </message>
    <message id="MSG_PhoneNoPermission">
        <source>You don’t have permission to use this phone.
Plug it in again. If that doesn’t help, ask your administrator for access to it.</source>
        <extracomment>In place of the welcome: the system does not let the user open the phone.</extracomment>
        <translation>이 휴대전화를 사용할 권한이 없습니다.
다시 연결해 보세요. 그래도 안 되면 관리자에게 접근 권한을 요청하세요.</translation>
    </message>
    <message id="MSG_PhoneInUse">
        <source>Another program is using your phone.
Quit that program, or eject the phone there.</source>
        <extracomment>In place of the welcome: another program has the phone; which one is not known.</extracomment>
        <translation>다른 프로그램이 휴대전화를 사용하고 있습니다.
그 프로그램을 종료하거나 거기서 휴대전화를 꺼내세요.</translation>
    </message>
    <message id="MSG_PhoneInUseBy">
        <source>Another program, %1, is using your phone.
Quit that program, or eject the phone there.</source>
        <extracomment>In place of the welcome: another program has the phone. %1 is its name.</extracomment>
        <translation>다른 프로그램(%1)이 휴대전화를 사용하고 있습니다.
그 프로그램을 종료하거나 거기서 휴대전화를 꺼내세요.</translation>
    </message>
    <message id="MSG_PhoneNotAnswering">
        <source>Your phone doesn’t answer.
Unlock it. If that doesn’t help, unplug it and plug it in again.</source>
        <extracomment>In place of the welcome: the phone does not answer.</extracomment>
        <translation>휴대전화가 응답하지 않습니다.
잠금을 해제하세요. 그래도 안 되면 뽑았다가 다시 연결하세요.</translation>
    </message>
    <message id="MSG_SuspendReason">
        <source>Files are being copied</source>
        <extracomment>Shown by the desktop as the reason why the computer is kept awake.</extracomment>
        <translation>파일을 복사하는 중</translation>
    </message>
    <message id="menu_file">
        <source>&amp;File</source>
        <extracomment>Menu bar. “&amp;” stands before the letter that opens the menu with Alt.</extracomment>
        <translation>파일(&amp;F)</translation>
    </message>
    <message id="menu_file_new_folder">
        <source>&amp;New Folder…</source>
        <extracomment>File menu.</extracomment>
        <translation>새 폴더(&amp;N)…</translation>
    </message>
    <message id="menu_file_upload">
        <source>&amp;Upload…</source>
        <extracomment>File menu: copies files of the computer to the phone.</extracomment>
        <translation>휴대전화로 업로드(&amp;U)…</translation>
    </message>
    <message id="menu_file_upload_folder">
        <source>Upload F&amp;older…</source>
        <extracomment>File menu: copies a folder of the computer to the phone.</extracomment>
        <translation>폴더 업로드(&amp;O)…</translation>
    </message>
    <message id="menu_file_copy_to">
        <source>&amp;Copy to…</source>
        <extracomment>File menu: copies the selected items from the phone to a folder of the computer.</extracomment>
        <translation>다른 위치로 복사(&amp;C)…</translation>
    </message>
    <message id="menu_file_cancel_transfer">
        <source>Cancel &amp;Transfer</source>
        <extracomment>File menu, while files are copied.</extracomment>
        <translation>전송 취소(&amp;T)</translation>
    </message>
    <message id="menu_file_quit">
        <source>&amp;Quit</source>
        <extracomment>File menu.</extracomment>
        <translation>끝내기(&amp;Q)</translation>
    </message>
    <message id="menu_edit">
        <source>&amp;Edit</source>
        <extracomment>Menu bar.</extracomment>
        <translation>편집(&amp;E)</translation>
    </message>
    <message id="menu_edit_rename">
        <source>&amp;Rename…</source>
        <extracomment>Edit menu.</extracomment>
        <translation>이름 바꾸기(&amp;R)…</translation>
    </message>
    <message id="menu_edit_delete">
        <source>&amp;Delete</source>
        <extracomment>Edit menu.</extracomment>
        <translation>삭제(&amp;D)</translation>
    </message>
    <message id="menu_edit_select_all">
        <source>Select &amp;All</source>
        <extracomment>Edit menu.</extracomment>
        <translation>모두 선택(&amp;A)</translation>
    </message>
    <message id="menu_go">
        <source>&amp;Go</source>
        <extracomment>Menu bar.</extracomment>
        <translation>이동(&amp;G)</translation>
    </message>
    <message id="menu_go_open">
        <source>&amp;Open</source>
        <extracomment>Go menu: enters the selected folder.</extracomment>
        <translation>열기(&amp;O)</translation>
    </message>
    <message id="menu_go_back">
        <source>&amp;Back</source>
        <extracomment>Go menu: to the parent folder.</extracomment>
        <translation>뒤로(&amp;B)</translation>
    </message>
    <message id="menu_go_next">
        <source>&amp;Forward</source>
        <extracomment>Go menu: undoes Back.</extracomment>
        <translation>앞으로(&amp;F)</translation>
    </message>
    <message id="menu_go_storage_1">
        <source>Storage &amp;1 (%1)</source>
        <extracomment>Go menu: the first storage of the phone. %1 is its name.</extracomment>
        <translation>저장소 &amp;1(%1)</translation>
    </message>
    <message id="menu_go_storage_2">
        <source>Storage &amp;2 (%1)</source>
        <extracomment>Go menu: the second storage of the phone. %1 is its name.</extracomment>
        <translation>저장소 &amp;2(%1)</translation>
    </message>
    <message id="menu_view">
        <source>&amp;View</source>
        <extracomment>Menu bar.</extracomment>
        <translation>보기(&amp;V)</translation>
    </message>
    <message id="menu_view_reload">
        <source>&amp;Reload</source>
        <extracomment>View menu: lists the folder anew.</extracomment>
        <translation>새로 고침(&amp;R)</translation>
    </message>
    <message id="menu_view_sort">
        <source>&amp;Sort By</source>
        <extracomment>View menu; its entries are the columns' headings.</extracomment>
        <translation>정렬 기준(&amp;S)</translation>
    </message>
    <message id="menu_view_expand">
        <source>&amp;Expand</source>
        <extracomment>View menu: shows what the selected folder holds, in place.</extracomment>
        <translation>펼치기(&amp;E)</translation>
    </message>
    <message id="menu_view_collapse">
        <source>&amp;Collapse</source>
        <extracomment>View menu: undoes Expand.</extracomment>
        <translation>접기(&amp;C)</translation>
    </message>
    <message id="menu_view_last_transfer">
        <source>&amp;Last Transfer</source>
        <extracomment>View menu: lists what became of each file of the last copy.</extracomment>
        <translation>마지막 전송(&amp;L)</translation>
    </message>
    <message id="menu_help">
        <source>&amp;Help</source>
        <extracomment>Menu bar.</extracomment>
        <translation>도움말(&amp;H)</translation>
    </message>
    <message id="menu_help_keys">
        <source>&amp;Keyboard Shortcuts</source>
        <extracomment>Help menu: shows the commands of the menus with their keys.</extracomment>
        <translation>키보드 단축키(&amp;K)</translation>
    </message>
    <message id="menu_help_about">
        <source>&amp;About MTP Browser</source>
        <extracomment>Help menu.</extracomment>
        <translation>MTP Browser 정보(&amp;A)</translation>
    </message>
    <message id="about_description">
        <source>Browse the files on your Android phone over USB.</source>
        <extracomment>About box.</extracomment>
        <translation>USB로 Android 휴대전화의 파일을 탐색합니다.</translation>
    </message>
    <message id="about_version">
        <source>Version %1</source>
        <extracomment>About box. %1 is a version number.</extracomment>
        <translation>버전 %1</translation>
    </message>
    <message id="accessible_back">
        <source>Back</source>
        <extracomment>Toolbar button.</extracomment>
        <translation>뒤로</translation>
    </message>
    <message id="accessible_next">
        <source>Forward</source>
        <extracomment>Toolbar button.</extracomment>
        <translation>앞으로</translation>
    </message>
    <message id="accessible_toolbar">
        <source>Toolbar</source>
        <extracomment>What a screen reader calls the row of buttons.</extracomment>
        <translation>도구 모음</translation>
    </message>
    <message id="accessible_path">
        <source>Path</source>
        <extracomment>What a screen reader calls the line with the folder's path.</extracomment>
        <translation>경로</translation>
    </message>
    <message id="accessible_files">
        <source>Files and folders</source>
        <extracomment>What a screen reader calls the tree.</extracomment>
        <translation>파일 및 폴더</translation>
    </message>
    <message id="accessible_columns">
        <source>Column headings</source>
        <extracomment>What a screen reader calls the tree's header.</extracomment>
        <translation>열 머리글</translation>
    </message>
    <message id="accessible_folder">
        <source>Folder</source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>폴더</translation>
    </message>
    <message id="accessible_file">
        <source>File</source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>파일</translation>
    </message>
    <message id="accessible_sorted_ascending">
        <source>Sorted ascending</source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>오름차순 정렬</translation>
    </message>
    <message id="accessible_sorted_descending">
        <source>Sorted descending</source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>내림차순 정렬</translation>
    </message>
    <message id="accessible_progress_panel">
        <source>Transfer</source>
        <extracomment>What a screen reader calls the progress panel.</extracomment>
        <translation>전송</translation>
    </message>
    <message id="accessible_progress_bar">
        <source>Transfer progress</source>
        <extracomment>What a screen reader calls the bar.</extracomment>
        <translation>전송 진행률</translation>
    </message>
    <message id="accessible_cancel_transfer">
        <source>Cancel transfer</source>
        <extracomment>Button of the progress panel, which shows a picture only.</extracomment>
        <translation>전송 취소</translation>
    </message>
    <message id="accessible_loading">
        <source>Loading</source>
        <extracomment>What a screen reader says while a folder is listed.</extracomment>
        <translation>불러오는 중</translation>
    </message>
    <message id="accessible_waiting">
        <source>Please wait</source>
        <extracomment>What a screen reader says of a window that takes no input for the moment.</extracomment>
        <translation>잠시 기다려 주세요</translation>
    </message>
</context>
</TS>
