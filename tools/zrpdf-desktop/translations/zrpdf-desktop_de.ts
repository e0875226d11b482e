<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name />
    <message>
        <source>One-Page PDF</source>
        <translation>Einseiten-PDF</translation>
    </message>
</context>
<context>
    <name>ConversionText</name>
    <message>
        <source>HTML to PDF converter did fail</source>
        <translation>Das Dokument ließ sich nicht umwandeln</translation>
    </message>
    <message>
        <source>PDF attributes did fail</source>
        <translation>Titel und Urheber ließen sich nicht eintragen</translation>
    </message>
    <message>
        <source>The conversion service is not installed</source>
        <translation>Der Umwandlungsdienst ist nicht installiert</translation>
    </message>
    <message>
        <source>The conversion service was lost</source>
        <translation>Der Umwandlungsdienst ist abgebrochen</translation>
    </message>
    <message>
        <source>The conversion took too long</source>
        <translation>Die Umwandlung hat zu lange gedauert</translation>
    </message>
    <message>
        <source>The service's reply holds no PDF</source>
        <translation>Die Antwort des Dienstes enthält kein PDF</translation>
    </message>
    <message>
        <source>The PDF can't be written</source>
        <translation>Das PDF lässt sich nicht schreiben</translation>
    </message>
    <message>
        <source>The document is empty</source>
        <translation>Das Dokument ist leer</translation>
    </message>
    <message>
        <source>Only http, https, file and data URLs can be converted</source>
        <translation>Nur http-, https-, file- und data-Adressen lassen sich umwandeln</translation>
    </message>
    <message>
        <source>It is a pipe or a device</source>
        <translation>Es ist eine Pipe oder ein Gerät</translation>
    </message>
    <message>
        <source>It is a folder</source>
        <translation>Es ist ein Ordner</translation>
    </message>
    <message>
        <source>It is not a valid URL</source>
        <translation>Es ist keine gültige Adresse</translation>
    </message>
    <message>
        <source>Pasted HTML</source>
        <translation>Eingesetztes HTML</translation>
    </message>
    <message>
        <source>Pasted document</source>
        <translation>Eingesetztes Dokument</translation>
    </message>
    <message>
        <source>Waiting</source>
        <translation>Wartet</translation>
    </message>
    <message>
        <source>Being converted</source>
        <translation>Wird umgewandelt</translation>
    </message>
    <message>
        <source>Done, %1</source>
        <translation>Fertig, %1</translation>
    </message>
    <message>
        <source>Failed. %1</source>
        <translation>Fehlgeschlagen. %1</translation>
    </message>
    <message>
        <source>Cancelled</source>
        <translation>Abgebrochen</translation>
    </message>
</context>
<context>
    <name>MainMenu</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Rückgängig</translation>
    </message>
    <message>
        <source>&amp;Undo %1</source>
        <translation>&amp;Rückgängig: %1</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Wiederholen</translation>
    </message>
    <message>
        <source>&amp;Redo %1</source>
        <translation>&amp;Wiederholen: %1</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Title</source>
        <translation>Titel</translation>
    </message>
    <message>
        <source>Creator</source>
        <translation>Urheber</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Add Files…</source>
        <translation>Dateien &amp;hinzufügen …</translation>
    </message>
    <message>
        <source>Pa&amp;ste Documents</source>
        <translation>Dokumente &amp;einsetzen</translation>
    </message>
    <message>
        <source>Convert &amp;Text</source>
        <translation>&amp;Text umwandeln</translation>
    </message>
    <message>
        <source>Save PD&amp;F As…</source>
        <translation>PDF &amp;sichern als …</translation>
    </message>
    <message>
        <source>&amp;Open PDF</source>
        <translation>PDF ö&amp;ffnen</translation>
    </message>
    <message>
        <source>&amp;Copy PDF</source>
        <translation>PDF &amp;kopieren</translation>
    </message>
    <message>
        <source>&amp;Print…</source>
        <translation>&amp;Drucken …</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>&amp;Try Again</source>
        <translation>&amp;Nochmals versuchen</translation>
    </message>
    <message>
        <source>&amp;Cancel Conversion</source>
        <translation>Umwandlung &amp;abbrechen</translation>
    </message>
    <message>
        <source>Re&amp;move from List</source>
        <translation>Aus der &amp;Liste entfernen</translation>
    </message>
    <message>
        <source>Remove &amp;All That Is Finished</source>
        <translation>Alles &amp;Erledigte entfernen</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>&amp;Larger</source>
        <translation>&amp;Größer</translation>
    </message>
    <message>
        <source>&amp;Smaller</source>
        <translation>&amp;Kleiner</translation>
    </message>
    <message>
        <source>As Wide as the &amp;Window</source>
        <translation>So breit wie das &amp;Fenster</translation>
    </message>
    <message>
        <source>&amp;Actual Size</source>
        <translation>&amp;Originalgröße</translation>
    </message>
    <message>
        <source>Go to &amp;Text</source>
        <translation>Zum &amp;Text</translation>
    </message>
    <message>
        <source>Go to T&amp;itle</source>
        <translation>Zum T&amp;itel</translation>
    </message>
    <message>
        <source>Go to &amp;Documents</source>
        <translation>Zu den &amp;Dokumenten</translation>
    </message>
    <message>
        <source>Go to &amp;Page</source>
        <translation>Zur &amp;Seite</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>One-Page PDF</source>
        <translation>Einseiten-PDF</translation>
    </message>
</context>
<context>
    <name>PreviewController</name>
    <message>
        <source>&amp;Save…</source>
        <translation>&amp;Sichern …</translation>
    </message>
    <message>
        <source>Save the PDF in a folder of yours</source>
        <translation>Das PDF in einem eigenen Ordner sichern</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <translation>Ö&amp;ffnen</translation>
    </message>
    <message>
        <source>Open the PDF in another program</source>
        <translation>Das PDF in einem anderen Programm öffnen</translation>
    </message>
    <message>
        <source>Co&amp;py</source>
        <translation>&amp;Kopieren</translation>
    </message>
    <message>
        <source>Copy the PDF, to paste it elsewhere</source>
        <translation>Das PDF kopieren, um es anderswo einzusetzen</translation>
    </message>
    <message>
        <source>Pr&amp;int…</source>
        <translation>D&amp;rucken …</translation>
    </message>
    <message>
        <source>Print the page on as many sheets as it takes</source>
        <translation>Die Seite auf so vielen Blättern drucken, wie sie braucht</translation>
    </message>
    <message>
        <source>−</source>
        <translation>−</translation>
    </message>
    <message>
        <source>Smaller</source>
        <translation>Kleiner</translation>
    </message>
    <message>
        <source>+</source>
        <translation>+</translation>
    </message>
    <message>
        <source>Larger</source>
        <translation>Größer</translation>
    </message>
    <message>
        <source>Fit &amp;Width</source>
        <translation>Fensterbre&amp;ite</translation>
    </message>
    <message>
        <source>As wide as the window</source>
        <translation>So breit wie das Fenster</translation>
    </message>
    <message>
        <source>Preview of the page</source>
        <translation>Vorschau der Seite</translation>
    </message>
    <message>
        <source>About this document</source>
        <translation>Über dieses Dokument</translation>
    </message>
    <message>
        <source>&amp;Try Again</source>
        <translation>Nochmals &amp;versuchen</translation>
    </message>
    <message>
        <source>Drop documents here, or paste an address</source>
        <translation>Dokumente hierher ziehen oder eine Adresse einsetzen</translation>
    </message>
    <message>
        <source>The page can't be shown</source>
        <translation>Die Seite lässt sich nicht anzeigen</translation>
    </message>
    <message>
        <source>%1, %2 × %3 points, %4 %</source>
        <translation>%1, %2 × %3 Punkt, %4 %</translation>
    </message>
    <message>
        <source>Save PDF</source>
        <translation>PDF sichern</translation>
    </message>
    <message>
        <source>PDF documents (*.pdf)</source>
        <translation>PDF-Dokumente (*.pdf)</translation>
    </message>
    <message>
        <source>Saved as %1</source>
        <translation>Gesichert als %1</translation>
    </message>
    <message>
        <source>%1 could not be saved: %2</source>
        <translation>%1 ließ sich nicht sichern: %2</translation>
    </message>
    <message>
        <source>The PDF could not be copied</source>
        <translation>Das PDF ließ sich nicht kopieren</translation>
    </message>
    <message>
        <source>No program opens PDFs</source>
        <translation>Kein Programm öffnet PDFs</translation>
    </message>
    <message>
        <source>The PDF is on the clipboard</source>
        <translation>Das PDF liegt in der Zwischenablage</translation>
    </message>
    <message>
        <source>Printing…</source>
        <translation>Wird gedruckt …</translation>
    </message>
    <message>
        <source>Printing, %1 %</source>
        <translation>Wird gedruckt, %1 %</translation>
    </message>
    <message>
        <source>Printed</source>
        <translation>Gedruckt</translation>
    </message>
    <message>
        <source>The page could not be printed</source>
        <translation>Die Seite ließ sich nicht drucken</translation>
    </message>
</context>
<context>
    <name>QueueController</name>
    <message>
        <source>Type or paste an address, HTML or text, or drop documents anywhere</source>
        <translation>Adresse, HTML oder Text eingeben oder einsetzen, oder Dokumente ins Fenster ziehen</translation>
    </message>
    <message>
        <source>Address, HTML or text</source>
        <translation>Adresse, HTML oder Text</translation>
    </message>
    <message>
        <source>What stands here becomes a document. An address stands for the page that it leads to.</source>
        <translation>Was hier steht, wird ein Dokument. Eine Adresse steht für die Seite, zu der sie führt.</translation>
    </message>
    <message>
        <source>Choose the documents to convert</source>
        <translation>Die Dokumente auswählen, die umgewandelt werden</translation>
    </message>
    <message>
        <source>&amp;Convert</source>
        <translation>&amp;Umwandeln</translation>
    </message>
    <message>
        <source>Convert what stands in the field above</source>
        <translation>Umwandeln, was im Feld darüber steht</translation>
    </message>
    <message>
        <source>Title</source>
        <translation>Titel</translation>
    </message>
    <message>
        <source>Title of the next PDFs</source>
        <translation>Titel der nächsten PDFs</translation>
    </message>
    <message>
        <source>The title that the next PDFs get</source>
        <translation>Der Titel, den die nächsten PDFs bekommen</translation>
    </message>
    <message>
        <source>Creator</source>
        <translation>Urheber</translation>
    </message>
    <message>
        <source>Creator of the next PDFs</source>
        <translation>Urheber der nächsten PDFs</translation>
    </message>
    <message>
        <source>The creator that the next PDFs name</source>
        <translation>Der Urheber, den die nächsten PDFs nennen</translation>
    </message>
    <message>
        <source>Documents</source>
        <translation>Dokumente</translation>
    </message>
    <message>
        <source>Progress of the conversions</source>
        <translation>Fortschritt der Umwandlungen</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>Try &amp;Again</source>
        <translation>&amp;Nochmals versuchen</translation>
    </message>
    <message>
        <source>Ca&amp;ncel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>&amp;Remove</source>
        <translation>Entf&amp;ernen</translation>
    </message>
    <message>
        <source>Take the selected documents off the list; this can be undone</source>
        <translation>Die ausgewählten Dokumente aus der Liste nehmen; das lässt sich rückgängig machen</translation>
    </message>
    <message>
        <source>Add Files</source>
        <translation>Dateien hinzufügen</translation>
    </message>
    <message>
        <source>Documents (*.html *.htm *.xhtml *.mht *.mhtml *.webarchive *.txt *.svg *.png *.jpg *.jpeg *.gif *.webp);;All files (*)</source>
        <translation>Dokumente (*.html *.htm *.xhtml *.mht *.mhtml *.webarchive *.txt *.svg *.png *.jpg *.jpeg *.gif *.webp);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>%1 of %2 converted</source>
        <translation>%1 von %2 umgewandelt</translation>
    </message>
    <message>
        <source>The history can't be kept this time</source>
        <translation>Die Liste lässt sich diesmal nicht aufbewahren</translation>
    </message>
    <message>
        <source>No title</source>
        <translation>Kein Titel</translation>
    </message>
    <message>
        <source>No creator</source>
        <translation>Kein Urheber</translation>
    </message>
    <message>
        <source>A&amp;dd Files…</source>
        <translation>Dateien &amp;hinzufügen …</translation>
    </message>
</context>
</TS>
