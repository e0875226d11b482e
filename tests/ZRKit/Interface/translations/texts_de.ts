<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>Prefs</name>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>&amp;Open…</source>
        <translation>Ö&amp;ffnen …</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Recent</source>
        <translation>Zuletzt benutzt</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <source>Font</source>
        <translation>Schrift</translation>
    </message>
    <message>
        <source>Choose a font</source>
        <translation>Eine Schrift wählen</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>Large</source>
        <translation>Groß</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Your name</source>
        <translation>Ihr Name</translation>
    </message>
    <message>
        <source>Schließen</source>
        <translation>Doppelt übersetzt</translation>
    </message>
    <message>
        <source>Name of the person</source>
        <translation>Name der Person</translation>
    </message>
    <message>
        <source>Bank</source>
        <translation>Sitzbank</translation>
    </message>
</context>
<context>
    <name>Prefs.Other</name>
    <message>
        <source>Preferences</source>
        <translation>Falsch</translation>
    </message>
</context>
<context>
    <name></name>
    <message>
        <source>Untitled</source>
        <translation>Unbenannt</translation>
    </message>
</context>
<context>
    <name>Geld</name>
    <message>
        <source>Bank</source>
        <translation>Geldinstitut</translation>
    </message>
</context>
</TS>
