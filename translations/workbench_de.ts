<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AttributesView</name>
    <message>
        <source>Attribute</source>
        <translation>Attribut</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
    <message>
        <source>Override material</source>
        <translation>Ersatzmaterial</translation>
    </message>
    <message>
        <source>Select a node to see its current render attributes.</source>
        <translation>Wählen Sie einen Knoten aus, um seine aktuellen Render-Attribute zu sehen.</translation>
    </message>
    <message>
        <source> (first of %1 selected nodes)</source>
        <translation> (erster von %1 ausgewählten Knoten)</translation>
    </message>
    <message>
        <source>: none of its own, the defaults hold</source>
        <translation>: keine eigenen, es gelten die Vorgaben</translation>
    </message>
    <message>
        <source>On</source>
        <translation>An</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>Empty</source>
        <translation>Leer</translation>
    </message>
</context>
<context>
    <name>CommandLine</name>
    <message>
        <source>Opens a scene beside the panels of the plug-ins.</source>
        <translation>Öffnet eine Szene neben den Panels der Plug-ins.</translation>
    </message>
    <message>
        <source>Show this help, then exit.</source>
        <translation>Diese Hilfe anzeigen und beenden.</translation>
    </message>
    <message>
        <source>Show the version, then exit.</source>
        <translation>Die Version anzeigen und beenden.</translation>
    </message>
    <message>
        <source>Run a Python script once the scene is open; may be given several times. Arguments after -- reach sys.argv.</source>
        <translation>Ein Python-Skript ausführen, sobald die Szene offen ist; mehrfach möglich. Was nach -- folgt, steht in sys.argv.</translation>
    </message>
    <message>
        <source>file</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>Show no window: run the scripts, then exit, with the status that python would have.</source>
        <translation>Kein Fenster zeigen: die Skripte ausführen und mit dem Status enden, den python hätte.</translation>
    </message>
    <message>
        <source>Write a picture of the window once the scene is open and the scripts are done, then exit.</source>
        <translation>Ein Bild des Fensters schreiben, sobald die Szene offen ist und die Skripte fertig sind, und beenden.</translation>
    </message>
    <message>
        <source>Load the plug-ins of this directory, too; may be given several times. MK_PLUGIN_PATH lists more, separated by colons.</source>
        <translation>Auch die Plug-ins dieses Verzeichnisses laden; mehrfach möglich. MK_PLUGIN_PATH nennt weitere, durch Doppelpunkte getrennt.</translation>
    </message>
    <message>
        <source>directory</source>
        <translation>Verzeichnis</translation>
    </message>
    <message>
        <source>Render a picture of each render layer into this directory, once the scripts are done.</source>
        <translation>Ein Bild jeder Render-Ebene in dieses Verzeichnis rendern, sobald die Skripte fertig sind.</translation>
    </message>
    <message>
        <source>Size of these pictures.</source>
        <translation>Größe dieser Bilder.</translation>
    </message>
    <message>
        <source>WIDTHxHEIGHT</source>
        <translation>BREITExHÖHE</translation>
    </message>
    <message>
        <source>Samples for each of their pixels.</source>
        <translation>Abtastungen je Bildpunkt.</translation>
    </message>
    <message>
        <source>number</source>
        <translation>Zahl</translation>
    </message>
    <message>
        <source>Speak this language, as in de, and not the locale&apos;s.</source>
        <translation>Diese Sprache sprechen, etwa de, nicht die der Umgebung.</translation>
    </message>
    <message>
        <source>language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>Scene file to open.</source>
        <translation>Zu öffnende Szenendatei.</translation>
    </message>
    <message>
        <source>Only one scene can be opened.</source>
        <translation>Nur eine Szene kann geöffnet werden.</translation>
    </message>
    <message>
        <source>There are no texts in the language &apos;%1&apos;.</source>
        <translation>Es gibt keine Texte in der Sprache „%1“.</translation>
    </message>
    <message>
        <source>--size takes two numbers, as in 960x540, and --samples takes one, all above 0.</source>
        <translation>--size nimmt zwei Zahlen, etwa 960x540, und --samples eine, alle größer als 0.</translation>
    </message>
    <message>
        <source>As the first of three arguments: read a file of another format, write the scene file that the third one names, then exit.</source>
        <translation>Als erstes von drei Argumenten: eine Datei eines anderen Formats lesen, die Szenendatei schreiben, die das dritte nennt, und beenden.</translation>
    </message>
    <message>
        <source>--convert takes a file to read and one to write.</source>
        <translation>--convert braucht eine Datei zum Lesen und eine zum Schreiben.</translation>
    </message>
</context>
<context>
    <name>HelpDialogs</name>
    <message>
        <source>&lt;h4&gt;Finding nodes&lt;/h4&gt;&lt;p&gt;Type into the field above the scene tree (Ctrl+F): part of a name, a whole name with wildcards such as &lt;b&gt;wheel_*&lt;/b&gt;, &lt;b&gt;kind:light&lt;/b&gt;, &lt;b&gt;material:rubber&lt;/b&gt;, or several of them. Escape ends the search.&lt;/p&gt;&lt;h4&gt;Layers&lt;/h4&gt;&lt;p&gt;Drag nodes from the scene tree onto a layer of the panel, drag materials onto a node of a layer. Activating a layer gives its nodes the attributes that the layer keeps for them; the status bar names the active layers. In the scene tree a dot marks nodes whose attributes are not the defaults, and a badge in its colour an override material that is in use. Reset takes all of that back.&lt;/p&gt;&lt;h4&gt;Editing the scene&lt;/h4&gt;&lt;p&gt;F2 renames and Delete deletes nodes and materials; File &amp;gt; Merge adds another file.&lt;/p&gt;&lt;h4&gt;Undo&lt;/h4&gt;&lt;p&gt;Undo takes back what was done to the scene: selecting, renaming, deleting, merging. &lt;b&gt;What was done to layers is not undone&lt;/b&gt;, neither their order, their members nor their attributes. A deleted node stays in its layers, with a cross on its icon, until Cleanup; undoing the deletion brings it back to life there, too.&lt;/p&gt;</source>
        <translation>&lt;h4&gt;Knoten finden&lt;/h4&gt;&lt;p&gt;In das Feld über dem Szenenbaum (Strg+F) kommt ein Teil eines Namens, ein ganzer Name mit Platzhaltern wie &lt;b&gt;wheel_*&lt;/b&gt;, &lt;b&gt;kind:light&lt;/b&gt;, &lt;b&gt;material:rubber&lt;/b&gt; oder mehreres davon. Esc beendet die Suche.&lt;/p&gt;&lt;h4&gt;Ebenen&lt;/h4&gt;&lt;p&gt;Knoten werden aus dem Szenenbaum auf eine Ebene gezogen, Materialien auf einen Knoten einer Ebene. Wird eine Ebene aktiviert, bekommen ihre Knoten die Attribute, die die Ebene für sie hält; die Statuszeile nennt die aktiven Ebenen. Im Szenenbaum zeigt ein Punkt Knoten, deren Attribute nicht die Vorgaben sind, und eine Marke in seiner Farbe ein verwendetes Ersatzmaterial. Zurücksetzen nimmt all das zurück.&lt;/p&gt;&lt;h4&gt;Die Szene bearbeiten&lt;/h4&gt;&lt;p&gt;F2 benennt Knoten und Materialien um, Entf löscht sie; Datei &amp;gt; Einfügen fügt eine weitere Datei hinzu.&lt;/p&gt;&lt;h4&gt;Rückgängig&lt;/h4&gt;&lt;p&gt;Rückgängig nimmt zurück, was mit der Szene geschah: Auswählen, Umbenennen, Löschen, Einfügen. &lt;b&gt;Was mit Ebenen geschah, wird nicht zurückgenommen&lt;/b&gt;, weder ihre Reihenfolge noch ihre Knoten oder deren Attribute. Ein gelöschter Knoten bleibt mit einem Kreuz auf seinem Symbol in seinen Ebenen, bis Aufräumen ihn entfernt; wird das Löschen zurückgenommen, lebt er auch dort wieder.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>Guide</source>
        <translation>Anleitung</translation>
    </message>
    <message>
        <source>Panel</source>
        <translation>Fenster</translation>
    </message>
    <message>
        <source>Keys</source>
        <translation>Tasten</translation>
    </message>
    <message>
        <source>Action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <source>Keyboard Shortcuts</source>
        <translation>Tastenkürzel</translation>
    </message>
    <message>
        <source>About the Workbench</source>
        <translation>Über die Workbench</translation>
    </message>
    <message>
        <source>&lt;h3&gt;Workbench %1&lt;/h3&gt;&lt;p&gt;A reference host for scene panels: it opens scene files and shows them beside the panels of its plug-ins.&lt;/p&gt;</source>
        <translation>&lt;h3&gt;Workbench %1&lt;/h3&gt;&lt;p&gt;Ein Referenzhost für Szenenfenster: Er öffnet Szenendateien und zeigt sie neben den Fenstern seiner Plug-ins.&lt;/p&gt;</translation>
    </message>
</context>
<context>
    <name>LayerPanel</name>
    <message>
        <source>The layers, and below each the nodes that it holds</source>
        <translation>Die Ebenen und unter jeder die Knoten, die sie enthält</translation>
    </message>
    <message>
        <source>The node is there at all</source>
        <translation>Der Knoten ist überhaupt da</translation>
    </message>
    <message>
        <source>The node counts in the picture&apos;s alpha channel</source>
        <translation>Der Knoten zählt im Alphakanal des Bildes</translation>
    </message>
    <message>
        <source>The camera sees the node directly</source>
        <translation>Die Kamera sieht den Knoten direkt</translation>
    </message>
    <message>
        <source>The node shows in reflections</source>
        <translation>Der Knoten erscheint in Spiegelungen</translation>
    </message>
    <message>
        <source>The node shows through transparent surfaces</source>
        <translation>Der Knoten erscheint durch durchsichtige Flächen</translation>
    </message>
    <message>
        <source>The node casts shadows</source>
        <translation>Der Knoten wirft Schatten</translation>
    </message>
    <message>
        <source>Shadows fall on the node</source>
        <translation>Schatten fallen auf den Knoten</translation>
    </message>
    <message>
        <source>Faces show from behind, too</source>
        <translation>Flächen sind auch von hinten zu sehen</translation>
    </message>
    <message>
        <source>The node meets photons</source>
        <translation>Der Knoten begegnet Photonen</translation>
    </message>
    <message>
        <source>The node casts shadows on shadow materials</source>
        <translation>Der Knoten wirft Schatten auf Schattenmaterialien</translation>
    </message>
    <message>
        <source>The override material takes the place of the node&apos;s own</source>
        <translation>Das Ersatzmaterial tritt an die Stelle des eigenen</translation>
    </message>
    <message>
        <source>The override material; drag one here from the Materials</source>
        <translation>Das Ersatzmaterial; aus den Materialien hierher zu ziehen</translation>
    </message>
    <message>
        <source>%1
It is in the scene no more.</source>
        <translation>%1
Er ist nicht mehr in der Szene.</translation>
    </message>
</context>
<context>
    <name>LayerStatus</name>
    <message>
        <source>%1 (deleted)</source>
        <translation>%1 (gelöscht)</translation>
    </message>
    <message>
        <source>No layer is active</source>
        <translation>Keine Ebene ist aktiv</translation>
    </message>
    <message>
        <source>Active: %1</source>
        <translation>Aktiv: %1</translation>
    </message>
    <message>
        <source>%1
Layers activated since the last reset, the latest last.</source>
        <translation>%1
Ebenen, die seit dem letzten Zurücksetzen aktiviert wurden, die letzte zuletzt.</translation>
    </message>
    <message>
        <source>%1 is set but not used yet: UseOverrideMaterial is off in this row.</source>
        <translation>%1 ist gesetzt, wird aber noch nicht verwendet: UseOverrideMaterial ist in dieser Zeile aus.</translation>
    </message>
</context>
<context>
    <name>LogView</name>
    <message>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <source>What the host and scripts report appears here.</source>
        <translation>Was der Host und Skripte melden, erscheint hier.</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Workbench</source>
        <translation>Workbench</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
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
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;Keyboard Shortcuts</source>
        <translation>&amp;Tastenkürzel</translation>
    </message>
    <message>
        <source>&amp;About</source>
        <translation>&amp;Über</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>Waiting for the running statement to stop…</source>
        <translation>Warten auf das Ende der laufenden Anweisung …</translation>
    </message>
    <message>
        <source>Discard Changes and Quit</source>
        <translation>Änderungen verwerfen und beenden</translation>
    </message>
    <message>
        <source>&amp;Find in Scene</source>
        <translation>In Szene &amp;suchen</translation>
    </message>
    <message>
        <source>Find in Scene</source>
        <translation>In Szene suchen</translation>
    </message>
    <message>
        <source>Save the changes before the workbench is closed?</source>
        <translation>Die Änderungen vor dem Schließen speichern?</translation>
    </message>
    <message>
        <source>&amp;Guide</source>
        <translation>&amp;Anleitung</translation>
    </message>
    <message>
        <source>&amp;Reset Layout</source>
        <translation>Anordnung &amp;zurücksetzen</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <comment>file, contents</comment>
        <translation>%1: %2</translation>
    </message>
</context>
<context>
    <name>MaterialUse</name>
    <message>
        <source>layer %1: overrides %2</source>
        <translation>Ebene %1: ersetzt %2</translation>
    </message>
    <message>
        <source>overrides %1 now</source>
        <translation>ersetzt jetzt %1</translation>
    </message>
    <message>
        <source>and %1 more places</source>
        <translation>und %1 weitere Stellen</translation>
    </message>
</context>
<context>
    <name>MaterialsPane</name>
    <message>
        <source>Search materials</source>
        <translation>Materialien suchen</translation>
    </message>
    <message>
        <source>The scene has no materials.</source>
        <translation>Die Szene hat keine Materialien.</translation>
    </message>
    <message>
        <source>No material fits.</source>
        <translation>Kein Material passt.</translation>
    </message>
    <message>
        <source>Shadow material</source>
        <translation>Schattenmaterial</translation>
    </message>
    <message>
        <source>Pictures show only the shadows on what has this material</source>
        <translation>Bilder zeigen nur die Schatten auf dem, was dieses Material hat</translation>
    </message>
</context>
<context>
    <name>MaterialsView</name>
    <message>
        <source>Rename	%1</source>
        <translation>Umbenennen	%1</translation>
    </message>
    <message>
        <source>Select Nodes</source>
        <translation>Knoten auswählen</translation>
    </message>
    <message>
        <source>Delete Material	%1</source>
        <translation>Material löschen	%1</translation>
    </message>
    <message>
        <source>Delete Material</source>
        <translation>Material löschen</translation>
    </message>
    <message>
        <source>%1 is in use. Delete it?</source>
        <translation>%1 wird verwendet. Löschen?</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>1 node has this material.</source>
        <translation>1 Knoten hat dieses Material.</translation>
    </message>
    <message>
        <source>%1 nodes have this material.</source>
        <translation>%1 Knoten haben dieses Material.</translation>
    </message>
</context>
<context>
    <name>NamedDrag</name>
    <message>
        <source> and %1 more</source>
        <translation> und %1 weitere</translation>
    </message>
</context>
<context>
    <name>NodeLooks</name>
    <message>
        <source>Off: %1</source>
        <translation>Aus: %1</translation>
    </message>
    <message>
        <source>Override material: %1</source>
        <translation>Ersatzmaterial: %1</translation>
    </message>
    <message>
        <source>Override material, not used: %1</source>
        <translation>Ersatzmaterial, nicht verwendet: %1</translation>
    </message>
</context>
<context>
    <name>PythonConsole</name>
    <message>
        <source>Python statement</source>
        <translation>Python-Anweisung</translation>
    </message>
    <message>
        <source>Stop the running statement (Ctrl+C)</source>
        <translation>Laufende Anweisung anhalten (Strg+C)</translation>
    </message>
    <message>
        <source>Python Console</source>
        <translation>Python-Konsole</translation>
    </message>
    <message>
        <source>Run Statement</source>
        <translation>Anweisung ausführen</translation>
    </message>
    <message>
        <source>Break Line</source>
        <translation>Zeile umbrechen</translation>
    </message>
    <message>
        <source>Complete or Indent</source>
        <translation>Vervollständigen oder einrücken</translation>
    </message>
    <message>
        <source>Previous Statement</source>
        <translation>Vorige Anweisung</translation>
    </message>
    <message>
        <source>Next Statement</source>
        <translation>Nächste Anweisung</translation>
    </message>
    <message>
        <source>Stop Statement</source>
        <translation>Anweisung anhalten</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
</context>
<context>
    <name>QMKDockWindowManager</name>
    <message>
        <source>Scene</source>
        <translation>Szene</translation>
    </message>
    <message>
        <source>Attributes</source>
        <translation>Attribute</translation>
    </message>
    <message>
        <source>Materials</source>
        <translation>Materialien</translation>
    </message>
    <message>
        <source>Log</source>
        <translation>Protokoll</translation>
    </message>
    <message>
        <source>Python Console</source>
        <translation>Python-Konsole</translation>
    </message>
</context>
<context>
    <name>RecentFiles</name>
    <message>
        <source>%1 – %2</source>
        <translation>%1 – %2</translation>
    </message>
    <message>
        <source>%1 (missing)</source>
        <translation>%1 (fehlt)</translation>
    </message>
</context>
<context>
    <name>RenderAttributes</name>
    <message>
        <source>Visible</source>
        <translation>Sichtbar</translation>
    </message>
    <message>
        <source>Visible in alpha</source>
        <translation>Sichtbar in Alpha</translation>
    </message>
    <message>
        <source>Primary visibility</source>
        <translation>Primär sichtbar</translation>
    </message>
    <message>
        <source>Visible in reflections</source>
        <translation>Sichtbar in Spiegelungen</translation>
    </message>
    <message>
        <source>Visible in refractions</source>
        <translation>Sichtbar in Brechungen</translation>
    </message>
    <message>
        <source>Cast shadows</source>
        <translation>Wirft Schatten</translation>
    </message>
    <message>
        <source>Receive shadows</source>
        <translation>Empfängt Schatten</translation>
    </message>
    <message>
        <source>Double sided</source>
        <translation>Doppelseitig</translation>
    </message>
    <message>
        <source>Visible in photons</source>
        <translation>Sichtbar für Photonen</translation>
    </message>
    <message>
        <source>Cast shadows on shadow material</source>
        <translation>Wirft Schatten auf Schattenmaterial</translation>
    </message>
    <message>
        <source>Use override material</source>
        <translation>Ersatzmaterial verwenden</translation>
    </message>
</context>
<context>
    <name>SceneDocument</name>
    <message>
        <source>Workbench</source>
        <translation>Workbench</translation>
    </message>
    <message>
        <source>Open Scene</source>
        <translation>Szene öffnen</translation>
    </message>
    <message>
        <source>Save Scene</source>
        <translation>Szene speichern</translation>
    </message>
    <message>
        <source>Save Scene under Another Name</source>
        <translation>Szene unter anderem Namen speichern</translation>
    </message>
    <message>
        <source>&amp;Open…</source>
        <translation>Ö&amp;ffnen …</translation>
    </message>
    <message>
        <source>Open &amp;Recent</source>
        <translation>&amp;Zuletzt geöffnet</translation>
    </message>
    <message>
        <source>&amp;Merge into Scene…</source>
        <translation>In Szene ein&amp;fügen …</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Speichern</translation>
    </message>
    <message>
        <source>Save &amp;As…</source>
        <translation>Speichern &amp;unter …</translation>
    </message>
    <message>
        <source>%1 cannot be opened.</source>
        <translation>%1 kann nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>%1 cannot be saved.</source>
        <translation>%1 kann nicht gespeichert werden.</translation>
    </message>
    <message>
        <source>Saved %1.</source>
        <translation>%1 gespeichert.</translation>
    </message>
    <message>
        <source>Scene Modified</source>
        <translation>Szene geändert</translation>
    </message>
    <message>
        <source>The scene has changes that are in no file.</source>
        <translation>Die Szene hat Änderungen, die in keiner Datei stehen.</translation>
    </message>
    <message>
        <source>A scene without a file</source>
        <translation>Eine Szene ohne Datei</translation>
    </message>
    <message>
        <source>Recover Scene</source>
        <translation>Szene wiederherstellen</translation>
    </message>
    <message>
        <source>%1 was not saved when the workbench stopped.</source>
        <translation>%1 war nicht gespeichert, als die Workbench beendet wurde.</translation>
    </message>
    <message>
        <source>There is a copy of it as it was on %1.</source>
        <translation>Es gibt eine Kopie vom Stand %1.</translation>
    </message>
    <message>
        <source>Recover</source>
        <translation>Wiederherstellen</translation>
    </message>
    <message>
        <source>Discard Copy</source>
        <translation>Kopie verwerfen</translation>
    </message>
    <message>
        <source>Ask Again Later</source>
        <translation>Später fragen</translation>
    </message>
    <message>
        <source>%1 cannot be recovered.</source>
        <translation>%1 kann nicht wiederhergestellt werden.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Scene files (*.%1 %2);;All files (*)</source>
        <translation>Szenendateien (*.%1 %2);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Scene files (*.%1)</source>
        <translation>Szenendateien (*.%1)</translation>
    </message>
    <message>
        <source>scene</source>
        <translation>szene</translation>
    </message>
    <message>
        <source>%1 exists already. Replace it?</source>
        <translation>%1 gibt es schon. Ersetzen?</translation>
    </message>
    <message>
        <source>Save the changes before another scene is opened?</source>
        <translation>Die Änderungen speichern, bevor eine andere Szene geöffnet wird?</translation>
    </message>
    <message>
        <source>Discard Changes</source>
        <translation>Änderungen verwerfen</translation>
    </message>
    <message>
        <source>Merge into Scene</source>
        <translation>In Szene einfügen</translation>
    </message>
    <message>
        <source>Workbench[*]</source>
        <translation>Workbench[*]</translation>
    </message>
    <message>
        <source>%1[*] - Workbench</source>
        <translation>%1[*] - Workbench</translation>
    </message>
</context>
<context>
    <name>SceneEdits</name>
    <message>
        <source>Rename Material</source>
        <translation>Material umbenennen</translation>
    </message>
    <message>
        <source>Delete Material</source>
        <translation>Material löschen</translation>
    </message>
    <message>
        <source>Rename Node</source>
        <translation>Knoten umbenennen</translation>
    </message>
    <message>
        <source>Delete Node</source>
        <translation>Knoten löschen</translation>
    </message>
    <message>
        <source>Delete %1 Nodes</source>
        <translation>%1 Knoten löschen</translation>
    </message>
    <message>
        <source>Merge into Scene</source>
        <translation>In Szene einfügen</translation>
    </message>
    <message>
        <source>Merged %1: %2</source>
        <translation>%1 eingefügt: %2</translation>
    </message>
    <message>
        <source>Shadow Material</source>
        <translation>Schattenmaterial</translation>
    </message>
</context>
<context>
    <name>ScenePane</name>
    <message>
        <source>Search by kind or material</source>
        <translation>Nach Art oder Material suchen</translation>
    </message>
    <message>
        <source>Search nodes</source>
        <translation>Knoten suchen</translation>
    </message>
    <message>
        <source>Words in names: wheel front
Whole names with wildcards: wheel_*
Kinds and materials: kind:mesh material:rubber</source>
        <translation>Wörter in Namen: wheel front
Ganze Namen mit Platzhaltern: wheel_*
Arten und Materialien: kind:mesh material:rubber</translation>
    </message>
    <message>
        <source>Searching… %1 nodes</source>
        <translation>Suche … %1 Knoten</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Material</source>
        <translation>Material</translation>
    </message>
    <message>
        <source>No node fits.</source>
        <translation>Kein Knoten passt.</translation>
    </message>
    <message>
        <source>%1 of %2 nodes</source>
        <comment>found, all</comment>
        <translation>%1 von %2 Knoten</translation>
    </message>
    <message>
        <source>The scene is empty.
Open a file with Ctrl+O, or drop one here.</source>
        <translation>Die Szene ist leer.
Mit Strg+O eine Datei öffnen oder eine hier ablegen.</translation>
    </message>
</context>
<context>
    <name>SceneStatistics</name>
    <message>
        <source>1 node</source>
        <translation>1 Knoten</translation>
    </message>
    <message>
        <source>%1 nodes</source>
        <translation>%1 Knoten</translation>
    </message>
    <message>
        <source>1 mesh</source>
        <translation>1 Netz</translation>
    </message>
    <message>
        <source>%1 meshes</source>
        <translation>%1 Netze</translation>
    </message>
    <message>
        <source>1 material</source>
        <translation>1 Material</translation>
    </message>
    <message>
        <source>%1 materials</source>
        <translation>%1 Materialien</translation>
    </message>
</context>
<context>
    <name>SceneTree</name>
    <message>
        <source>Rename</source>
        <translation>Umbenennen</translation>
    </message>
    <message>
        <source>Store Render State…</source>
        <translation>Render-Zustand speichern …</translation>
    </message>
    <message>
        <source>Scene and Materials</source>
        <translation>Szene und Materialien</translation>
    </message>
    <message>
        <source>Rename	%1</source>
        <translation>Umbenennen	%1</translation>
    </message>
    <message>
        <source>Delete from Scene	%1</source>
        <translation>Aus Szene löschen	%1</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
    <message>
        <source>Select Children</source>
        <translation>Kinder auswählen</translation>
    </message>
    <message>
        <source>Select by Material</source>
        <translation>Nach Material auswählen</translation>
    </message>
    <message>
        <source>Expand Below</source>
        <translation>Darunter ausklappen</translation>
    </message>
    <message>
        <source>Collapse Below</source>
        <translation>Darunter einklappen</translation>
    </message>
    <message>
        <source>The selected nodes have no children.</source>
        <translation>Die ausgewählten Knoten haben keine Kinder.</translation>
    </message>
    <message>
        <source>Nothing selected has a material.</source>
        <translation>Nichts Ausgewähltes hat ein Material.</translation>
    </message>
    <message>
        <source>1 node has this material.</source>
        <translation>1 Knoten hat dieses Material.</translation>
    </message>
    <message>
        <source>%1 nodes have the material, or one of the materials, of what was selected.</source>
        <translation>%1 Knoten haben das Material oder eines der Materialien der Auswahl.</translation>
    </message>
    <message>
        <source>There are too many nodes below to expand them all.</source>
        <translation>Darunter sind zu viele Knoten, um alle auszuklappen.</translation>
    </message>
    <message>
        <source>Stored the render state of 1 node.</source>
        <translation>Render-Zustand von 1 Knoten gespeichert.</translation>
    </message>
    <message>
        <source>Stored the render state of %1 nodes.</source>
        <translation>Render-Zustand von %1 Knoten gespeichert.</translation>
    </message>
    <message>
        <source>End Search</source>
        <translation>Suche beenden</translation>
    </message>
</context>
<context>
    <name>ScriptRunner</name>
    <message>
        <source>Workbench</source>
        <translation>Workbench</translation>
    </message>
    <message>
        <source>Run Script</source>
        <translation>Skript ausführen</translation>
    </message>
    <message>
        <source>&amp;Run Script…</source>
        <translation>Skript ausfüh&amp;ren …</translation>
    </message>
    <message>
        <source>Recent S&amp;cripts</source>
        <translation>Zuletzt ausgeführte S&amp;kripte</translation>
    </message>
    <message>
        <source>Python scripts (*.py);;All files (*)</source>
        <translation>Python-Skripte (*.py);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>A statement is running. Stop it first.</source>
        <translation>Eine Anweisung läuft. Halten Sie sie erst an.</translation>
    </message>
    <message>
        <source>Running %1…</source>
        <translation>%1 läuft …</translation>
    </message>
    <message>
        <source>%1 is done.</source>
        <translation>%1 ist fertig.</translation>
    </message>
    <message>
        <source>%1 has failed: see the Python Console.</source>
        <translation>%1 ist fehlgeschlagen: siehe Python-Konsole.</translation>
    </message>
</context>
<context>
    <name>StoreStateDialog</name>
    <message>
        <source>Store Render State</source>
        <translation>Render-Zustand speichern</translation>
    </message>
    <message>
        <source>Selected drawables and all below, as they are now</source>
        <translation>Ausgewählte Objekte und alle darunter, wie sie jetzt sind</translation>
    </message>
    <message>
        <source>Layer %1</source>
        <translation>Ebene %1</translation>
    </message>
    <message>
        <source>&amp;Name:</source>
        <translation>&amp;Name:</translation>
    </message>
    <message>
        <source>&amp;Attributes:</source>
        <translation>&amp;Attribute:</translation>
    </message>
</context>
<context>
    <name>mkScenegraph</name>
    <message>
        <source>Reading %1…</source>
        <translation>%1 wird gelesen …</translation>
    </message>
    <message>
        <source>Writing %1…</source>
        <translation>%1 wird geschrieben …</translation>
    </message>
</context>
<context>
    <name>mkSelectionManager</name>
    <message>
        <source>Select Nodes</source>
        <translation>Knoten auswählen</translation>
    </message>
</context>
</TS>
