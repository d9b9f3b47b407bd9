<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt_BR" sourcelanguage="en">
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
        <translation>OK</translation>
    </message>
    <message id="MNU_Delete">
        <source>Delete</source>
        <extracomment>Menu entry, and the heading of the question before deleting.</extracomment>
        <translation>Excluir</translation>
    </message>
    <message id="MNU_Replace">
        <source>Replace</source>
        <extracomment>Button.</extracomment>
        <translation>Substituir</translation>
    </message>
    <message id="MNU_ReplaceAll">
        <source>Replace All</source>
        <extracomment>Button.</extracomment>
        <translation>Substituir tudo</translation>
    </message>
    <message id="MNU_Skip">
        <source>Skip</source>
        <extracomment>Button.</extracomment>
        <translation>Pular</translation>
    </message>
    <message id="BTUI_Delet_Window_Close">
        <source>Delete without asking</source>
        <extracomment>Name of the setting that switches the question off.</extracomment>
        <translation>Excluir sem perguntar</translation>
    </message>
    <message id="MNU_RestoreFromThirdParty4">
        <source>Restore from iTunes</source>
        <extracomment>Menu entry.</extracomment>
        <translation>Restaurar do iTunes</translation>
    </message>
    <message id="MSG_FoundiTunesData">
        <source>iTunes backups found on this computer</source>
        <extracomment>Headline.</extracomment>
        <translation>Backups do iTunes encontrados neste computador</translation>
    </message>
    <message id="MSG_FoundiTunesData2">
        <source>Do you want to copy the data of an iTunes backup to your phone?</source>
        <extracomment>Question below the headline.</extracomment>
        <translation>Deseja copiar os dados de um backup do iTunes para o telefone?</translation>
    </message>
    <message id="MSG_RestoreGuideForiTunes3">
        <source>Choose the iTunes backup you want to restore. Keep your phone connected until it is done.</source>
        <extracomment>Guide.</extracomment>
        <translation>Escolha o backup do iTunes que deseja restaurar. Mantenha o telefone conectado até o fim.</translation>
    </message>
    <message id="MSG_RestoreCompletediTunesVBQ">
        <source>The data of your iTunes backup is now on your phone.</source>
        <extracomment>Final message.</extracomment>
        <translation>Os dados do backup do iTunes já estão no telefone.</translation>
    </message>
</context>
</TS>
