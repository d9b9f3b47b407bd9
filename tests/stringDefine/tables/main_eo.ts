<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="eo" sourcelanguage="en">
<context>
    <name></name>
    <message id="MNU_FileName">
        <source></source>
        <translation>Nomo</translation>
    </message>
    <message id="MNU_EditName">
        <source></source>
        <translation>mnu_editname</translation>
    </message>
</context>
</TS>
