<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>ConnectionPool</name>
    <message numerus="yes">
        <source> seconds</source>
        <translation>
            <numerusform> seconds</numerusform>
            <numerusform> seconds</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message numerus="yes">
        <source>Deleted %n items</source>
        <translation>
            <numerusform>Deleted %n item</numerusform>
            <numerusform>Deleted %n items</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Notifier</name>
    <message numerus="yes">
        <source>and %n more</source>
        <translation>
            <numerusform>and %n more</numerusform>
            <numerusform>and %n more</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message numerus="yes">
        <source>seconds</source>
        <comment>behind a number</comment>
        <translation>
            <numerusform>seconds</numerusform>
            <numerusform>seconds</numerusform>
        </translation>
    </message>
</context>
</TS>
