<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="eo" sourcelanguage="en">
<context>
    <name></name>
    <message id="MNU_AddNewFolder">
        <source></source>
        <translation>Nova dosierujo</translation>
    </message>
    <message id="FUS_MNU_Cancel">
        <source></source>
        <translation>Nuligi</translation>
    </message>
</context>
</TS>
