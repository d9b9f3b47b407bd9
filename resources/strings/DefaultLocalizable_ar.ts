<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ar" sourcelanguage="en">
<context>
    <name></name>
    <message id="FUS_MNU_Cancel">
        <source>Cancel</source>
        <extracomment>Button.</extracomment>
        <translation>إلغاء</translation>
    </message>
    <message id="MNU_Confirm">
        <source>OK</source>
        <extracomment>Button.</extracomment>
        <translation>موافق</translation>
    </message>
    <message id="MNU_Delete">
        <source>Delete</source>
        <extracomment>Menu entry, and the heading of the question before deleting.</extracomment>
        <translation>حذف</translation>
    </message>
    <message id="MNU_Replace">
        <source>Replace</source>
        <extracomment>Button.</extracomment>
        <translation>استبدال</translation>
    </message>
    <message id="MNU_ReplaceAll">
        <source>Replace All</source>
        <extracomment>Button.</extracomment>
        <translation>استبدال الكل</translation>
    </message>
    <message id="MNU_Skip">
        <source>Skip</source>
        <extracomment>Button.</extracomment>
        <translation>تخطي</translation>
    </message>
    <message id="BTUI_Delet_Window_Close">
        <source>Delete without asking</source>
        <extracomment>Name of the setting that switches the question off.</extracomment>
        <translation>الحذف دون سؤال</translation>
    </message>
    <message id="MNU_RestoreFromThirdParty4">
        <source>Restore from iTunes</source>
        <extracomment>Menu entry.</extracomment>
        <translation>استعادة من iTunes</translation>
    </message>
    <message id="MSG_FoundiTunesData">
        <source>iTunes backups found on this computer</source>
        <extracomment>Headline.</extracomment>
        <translation>عُثر على نسخ iTunes احتياطية على هذا الحاسوب</translation>
    </message>
    <message id="MSG_FoundiTunesData2">
        <source>Do you want to copy the data of an iTunes backup to your phone?</source>
        <extracomment>Question below the headline.</extracomment>
        <translation>هل تريد نسخ بيانات نسخة iTunes احتياطية إلى هاتفك؟</translation>
    </message>
    <message id="MSG_RestoreGuideForiTunes3">
        <source>Choose the iTunes backup you want to restore. Keep your phone connected until it is done.</source>
        <extracomment>Guide.</extracomment>
        <translation>اختر نسخة iTunes الاحتياطية التي تريد استعادتها. أبقِ هاتفك متصلًا حتى تنتهي العملية.</translation>
    </message>
    <message id="MSG_RestoreCompletediTunesVBQ">
        <source>The data of your iTunes backup is now on your phone.</source>
        <extracomment>Final message.</extracomment>
        <translation>أصبحت بيانات نسخة iTunes الاحتياطية على هاتفك الآن.</translation>
    </message>
</context>
</TS>
