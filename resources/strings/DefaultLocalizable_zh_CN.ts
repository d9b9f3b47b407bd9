<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name></name>
    <message id="FUS_MNU_Cancel">
        <source>Cancel</source>
        <extracomment>Button.</extracomment>
        <translation>取消</translation>
    </message>
    <message id="MNU_Confirm">
        <source>OK</source>
        <extracomment>Button.</extracomment>
        <translation>确定</translation>
    </message>
    <message id="MNU_Delete">
        <source>Delete</source>
        <extracomment>Menu entry, and the heading of the question before deleting.</extracomment>
        <translation>删除</translation>
    </message>
    <message id="MNU_Replace">
        <source>Replace</source>
        <extracomment>Button.</extracomment>
        <translation>替换</translation>
    </message>
    <message id="MNU_ReplaceAll">
        <source>Replace All</source>
        <extracomment>Button.</extracomment>
        <translation>全部替换</translation>
    </message>
    <message id="MNU_Skip">
        <source>Skip</source>
        <extracomment>Button.</extracomment>
        <translation>跳过</translation>
    </message>
    <message id="BTUI_Delet_Window_Close">
        <source>Delete without asking</source>
        <extracomment>Name of the setting that switches the question off.</extracomment>
        <translation>删除时不询问</translation>
    </message>
    <message id="MNU_RestoreFromThirdParty4">
        <source>Restore from iTunes</source>
        <extracomment>Menu entry.</extracomment>
        <translation>从 iTunes 恢复</translation>
    </message>
    <message id="MSG_FoundiTunesData">
        <source>iTunes backups found on this computer</source>
        <extracomment>Headline.</extracomment>
        <translation>在此电脑上找到了 iTunes 备份</translation>
    </message>
    <message id="MSG_FoundiTunesData2">
        <source>Do you want to copy the data of an iTunes backup to your phone?</source>
        <extracomment>Question below the headline.</extracomment>
        <translation>要将 iTunes 备份中的数据复制到手机吗？</translation>
    </message>
    <message id="MSG_RestoreGuideForiTunes3">
        <source>Choose the iTunes backup you want to restore. Keep your phone connected until it is done.</source>
        <extracomment>Guide.</extracomment>
        <translation>请选择要恢复的 iTunes 备份。完成之前请保持手机连接。</translation>
    </message>
    <message id="MSG_RestoreCompletediTunesVBQ">
        <source>The data of your iTunes backup is now on your phone.</source>
        <extracomment>Final message.</extracomment>
        <translation>iTunes 备份中的数据现已复制到手机。</translation>
    </message>
</context>
</TS>
