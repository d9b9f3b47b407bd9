<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt_BR" sourcelanguage="en">
<context>
    <name></name>
    <message id="MNU_AddNewFolder">
        <source>New Folder</source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>Nova pasta</translation>
    </message>
    <message id="MNU_EditName">
        <source>Rename</source>
        <extracomment>Menu entry, and the heading of the name panel.</extracomment>
        <translation>Renomear</translation>
    </message>
    <message id="MNU_FileName">
        <source>Name</source>
        <extracomment>Column heading.</extracomment>
        <translation>Nome</translation>
    </message>
    <message id="MNU_DateOfModify">
        <source>Date Modified</source>
        <extracomment>Column heading; at most some 125 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>Modificado em</translation>
    </message>
    <message id="MSG_FileSize">
        <source>Size</source>
        <extracomment>Column heading; at most some 70 pixels wide in a bold face of 12 pixels.</extracomment>
        <translation>Tamanho</translation>
    </message>
    <message id="MNU_CheckboxText">
        <source>Don’t ask me again</source>
        <extracomment>Check box in the question before deleting.</extracomment>
        <translation>Não perguntar novamente</translation>
    </message>
    <message id="MSG_DeleteFile">
        <source>The selected items will be deleted from your phone. This can’t be undone.</source>
        <extracomment>Question before deleting; the heading is MNU_Delete.</extracomment>
        <translation>Os itens selecionados serão excluídos do telefone. Não é possível desfazer esta ação.</translation>
    </message>
    <message id="MNU_DuplicateTransferMTP">
        <source>%1 already exists here.</source>
        <extracomment>Question when a name is taken. %1 is the name, already in quotation marks.</extracomment>
        <translation>%1 já existe aqui.</translation>
    </message>
    <message id="MSG_DuplicateTransferMTPDescription">
        <source>Do you want to replace it with the one you’re copying?</source>
        <extracomment>Below MNU_DuplicateTransferMTP; the buttons are Replace, Replace All and Skip.</extracomment>
        <translation>Deseja substituí-lo pelo item que está copiando?</translation>
    </message>
    <message id="MSG_DuplicateTransferFolderDescription">
        <source>Everything in the folder on the phone will be deleted.</source>
        <extracomment>Below MSG_DuplicateTransferMTPDescription, when the name is that of a folder on the phone.</extracomment>
        <translation>Tudo o que está na pasta do telefone será excluído.</translation>
    </message>
    <message id="MNU_PrepareToSomething">
        <source>Getting ready…</source>
        <extracomment>Progress panel, before the first file.</extracomment>
        <translation>Preparando…</translation>
    </message>
    <message id="MSG_DropToDelete">
        <source>Drop here to delete</source>
        <extracomment>Where rows can be dropped to delete them from the phone; shown while they are dragged.</extracomment>
        <translation>Solte aqui para excluir</translation>
    </message>
    <message id="MSG_NowhereToDrop">
        <source>The items cannot be copied there.</source>
        <extracomment>Shown after rows were dropped on something that tells no folder to copy to.</extracomment>
        <translation>Os itens não podem ser copiados para lá.</translation>
    </message>
    <message id="MSG_NowhereToDropDescription">
        <source>Drop them on a folder of a file manager, or choose a folder to copy them to.</source>
        <extracomment>Below MSG_NowhereToDrop.</extracomment>
        <translation>Solte-os em uma pasta de um gerenciador de arquivos ou escolha uma pasta para a qual copiá-los.</translation>
    </message>
    <message id="MSG_ChooseCopyFolder">
        <source>Choose a Folder to Copy To</source>
        <extracomment>Title of the dialog that asks for the folder of the computer to copy to.</extracomment>
        <translation>Escolher a pasta de destino</translation>
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
        <translation>Ignorado</translation>
    </message>
    <message id="MSG_TransferFailed">
        <source>Failed</source>
        <extracomment>Last Transfer: before the reason, and before a number.</extracomment>
        <translation>Falhou</translation>
    </message>
    <message id="MSG_TransferNotCopied">
        <source>Not copied</source>
        <extracomment>Last Transfer: the transfer ended before this entry was whole. Also before a number.</extracomment>
        <translation>Não copiado</translation>
    </message>
    <message id="MSG_TransferNone">
        <source>Nothing has been copied yet.</source>
        <extracomment>Last Transfer: instead of the list.</extracomment>
        <translation>Nada foi copiado ainda.</translation>
    </message>
    <message id="MSG_WelcomToVBX2">
        <source>Connect your phone with a USB cable.
Then unlock it and choose “File transfer” in its USB notification.
If nothing happens, try another cable: some only charge.</source>
        <extracomment>The window while no phone is attached. “File transfer” is what Android calls this choice in your language.</extracomment>
        <translation>Conecte o telefone com um cabo USB.
Depois desbloqueie-o e escolha “Transferência de arquivos” na notificação de USB.
Se nada acontecer, tente outro cabo: alguns só carregam.</translation>
    </message>
    <message id="MSG_PhoneLocked">
        <source>Your phone is locked or only charging.
Unlock it and choose “File transfer” in its USB notification.</source>
        <extracomment>In place of the welcome: a phone is attached and shows no storage.</extracomment>
        <translation>O telefone está bloqueado ou apenas carregando.
Desbloqueie-o e escolha “Transferência de arquivos” na notificação de USB.</translation>
    </message>
    <message id="MSG_PhonePictureTransfer">
        <source>Your phone is set to transfer pictures only.
Choose “File transfer” in its USB notification.</source>
        <extracomment>In place of the welcome: the phone is in picture-transfer mode. “File transfer” as in MSG_WelcomToVBX2.</extracomment>
        <translation>O telefone está configurado para transferir apenas imagens.
Escolha “Transferência de arquivos” na notificação de USB.</translation>
    </message>
    <message id="MSG_PhoneNoPermission">
        <source>You don’t have permission to use this phone.
Plug it in again. If that doesn’t help, ask your administrator for access to it.</source>
        <extracomment>In place of the welcome: the system does not let the user open the phone.</extracomment>
        <translation>Você não tem permissão para usar este telefone.
Conecte-o novamente. Se não adiantar, peça acesso ao administrador.</translation>
    </message>
    <message id="MSG_PhoneInUse">
        <source>Another program is using your phone.
Quit that program, or eject the phone there.</source>
        <extracomment>In place of the welcome: another program has the phone; which one is not known.</extracomment>
        <translation>Outro programa está usando o telefone.
Feche esse programa ou ejete o telefone nele.</translation>
    </message>
    <message id="MSG_PhoneInUseBy">
        <source>Another program, %1, is using your phone.
Quit that program, or eject the phone there.</source>
        <extracomment>In place of the welcome: another program has the phone. %1 is its name.</extracomment>
        <translation>Outro programa, %1, está usando o telefone.
Feche esse programa ou ejete o telefone nele.</translation>
    </message>
    <message id="MSG_PhoneNotAnswering">
        <source>Your phone doesn’t answer.
Unlock it. If that doesn’t help, unplug it and plug it in again.</source>
        <extracomment>In place of the welcome: the phone does not answer.</extracomment>
        <translation>O telefone não responde.
Desbloqueie-o. Se não adiantar, desconecte-o e conecte-o novamente.</translation>
    </message>
    <message id="MSG_SuspendReason">
        <source>Files are being copied</source>
        <extracomment>Shown by the desktop as the reason why the computer is kept awake.</extracomment>
        <translation>Arquivos estão sendo copiados</translation>
    </message>
    <message id="menu_file">
        <source>&amp;File</source>
        <extracomment>Menu bar. “&amp;” stands before the letter that opens the menu with Alt.</extracomment>
        <translation>&amp;Arquivo</translation>
    </message>
    <message id="menu_file_new_folder">
        <source>&amp;New Folder…</source>
        <extracomment>File menu.</extracomment>
        <translation>&amp;Nova pasta…</translation>
    </message>
    <message id="menu_file_upload">
        <source>&amp;Upload…</source>
        <extracomment>File menu: copies files of the computer to the phone.</extracomment>
        <translation>&amp;Enviar para o telefone…</translation>
    </message>
    <message id="menu_file_upload_folder">
        <source>Upload F&amp;older…</source>
        <extracomment>File menu: copies a folder of the computer to the phone.</extracomment>
        <translation>Enviar uma &amp;pasta…</translation>
    </message>
    <message id="menu_file_copy_to">
        <source>&amp;Copy to…</source>
        <extracomment>File menu: copies the selected items from the phone to a folder of the computer.</extracomment>
        <translation>&amp;Copiar para…</translation>
    </message>
    <message id="menu_file_cancel_transfer">
        <source>Cancel &amp;Transfer</source>
        <extracomment>File menu, while files are copied.</extracomment>
        <translation>Cancelar a &amp;transferência</translation>
    </message>
    <message id="menu_file_quit">
        <source>&amp;Quit</source>
        <extracomment>File menu.</extracomment>
        <translation>&amp;Sair</translation>
    </message>
    <message id="menu_edit">
        <source>&amp;Edit</source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;Editar</translation>
    </message>
    <message id="menu_edit_rename">
        <source>&amp;Rename…</source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;Renomear…</translation>
    </message>
    <message id="menu_edit_delete">
        <source>&amp;Delete</source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;Excluir</translation>
    </message>
    <message id="menu_edit_select_all">
        <source>Select &amp;All</source>
        <extracomment>Edit menu.</extracomment>
        <translation>&amp;Selecionar tudo</translation>
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
        <translation>&amp;Voltar</translation>
    </message>
    <message id="menu_go_next">
        <source>&amp;Forward</source>
        <extracomment>Go menu: undoes Back.</extracomment>
        <translation>Ava&amp;nçar</translation>
    </message>
    <message id="menu_go_storage_1">
        <source>Storage &amp;1 (%1)</source>
        <extracomment>Go menu: the first storage of the phone. %1 is its name.</extracomment>
        <translation>Armazenamento &amp;1 (%1)</translation>
    </message>
    <message id="menu_go_storage_2">
        <source>Storage &amp;2 (%1)</source>
        <extracomment>Go menu: the second storage of the phone. %1 is its name.</extracomment>
        <translation>Armazenamento &amp;2 (%1)</translation>
    </message>
    <message id="menu_view">
        <source>&amp;View</source>
        <extracomment>Menu bar.</extracomment>
        <translation>&amp;Ver</translation>
    </message>
    <message id="menu_view_reload">
        <source>&amp;Reload</source>
        <extracomment>View menu: lists the folder anew.</extracomment>
        <translation>&amp;Recarregar</translation>
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
        <translation>Re&amp;colher</translation>
    </message>
    <message id="menu_view_last_transfer">
        <source>&amp;Last Transfer</source>
        <extracomment>View menu: lists what became of each file of the last copy.</extracomment>
        <translation>Última &amp;transferência</translation>
    </message>
    <message id="menu_help">
        <source>&amp;Help</source>
        <extracomment>Menu bar.</extracomment>
        <translation>A&amp;juda</translation>
    </message>
    <message id="menu_help_keys">
        <source>&amp;Keyboard Shortcuts</source>
        <extracomment>Help menu: shows the commands of the menus with their keys.</extracomment>
        <translation>Atalhos de &amp;teclado</translation>
    </message>
    <message id="menu_help_about">
        <source>&amp;About MTP Browser</source>
        <extracomment>Help menu.</extracomment>
        <translation>&amp;Sobre o MTP Browser</translation>
    </message>
    <message id="about_description">
        <source>Browse the files on your Android phone over USB.</source>
        <extracomment>About box.</extracomment>
        <translation>Navegue pelos arquivos do seu telefone Android via USB.</translation>
    </message>
    <message id="about_version">
        <source>Version %1</source>
        <extracomment>About box. %1 is a version number.</extracomment>
        <translation>Versão %1</translation>
    </message>
    <message id="accessible_back">
        <source>Back</source>
        <extracomment>Toolbar button.</extracomment>
        <translation>Voltar</translation>
    </message>
    <message id="accessible_next">
        <source>Forward</source>
        <extracomment>Toolbar button.</extracomment>
        <translation>Avançar</translation>
    </message>
    <message id="accessible_toolbar">
        <source>Toolbar</source>
        <extracomment>What a screen reader calls the row of buttons.</extracomment>
        <translation>Barra de ferramentas</translation>
    </message>
    <message id="accessible_path">
        <source>Path</source>
        <extracomment>What a screen reader calls the line with the folder's path.</extracomment>
        <translation>Caminho</translation>
    </message>
    <message id="accessible_files">
        <source>Files and folders</source>
        <extracomment>What a screen reader calls the tree.</extracomment>
        <translation>Arquivos e pastas</translation>
    </message>
    <message id="accessible_columns">
        <source>Column headings</source>
        <extracomment>What a screen reader calls the tree's header.</extracomment>
        <translation>Cabeçalhos das colunas</translation>
    </message>
    <message id="accessible_folder">
        <source>Folder</source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>Pasta</translation>
    </message>
    <message id="accessible_file">
        <source>File</source>
        <extracomment>What a screen reader says of a row.</extracomment>
        <translation>Arquivo</translation>
    </message>
    <message id="accessible_sorted_ascending">
        <source>Sorted ascending</source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>Ordem crescente</translation>
    </message>
    <message id="accessible_sorted_descending">
        <source>Sorted descending</source>
        <extracomment>What a screen reader says of a column's heading.</extracomment>
        <translation>Ordem decrescente</translation>
    </message>
    <message id="accessible_progress_panel">
        <source>Transfer</source>
        <extracomment>What a screen reader calls the progress panel.</extracomment>
        <translation>Transferência</translation>
    </message>
    <message id="accessible_progress_bar">
        <source>Transfer progress</source>
        <extracomment>What a screen reader calls the bar.</extracomment>
        <translation>Progresso da transferência</translation>
    </message>
    <message id="accessible_cancel_transfer">
        <source>Cancel transfer</source>
        <extracomment>Button of the progress panel, which shows a picture only.</extracomment>
        <translation>Cancelar a transferência</translation>
    </message>
    <message id="accessible_loading">
        <source>Loading</source>
        <extracomment>What a screen reader says while a folder is listed.</extracomment>
        <translation>Carregando</translation>
    </message>
    <message id="accessible_waiting">
        <source>Please wait</source>
        <extracomment>What a screen reader says of a window that takes no input for the moment.</extracomment>
        <translation>Aguarde</translation>
    </message>
</context>
</TS>
