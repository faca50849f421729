<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>QMKDockWindowManager</name>
    <message>
        <source>Ray-Traced View</source>
        <translation>Raytracing-Ansicht</translation>
    </message>
</context>
<context>
    <name>mkRayLayersDialog</name>
    <message>
        <source>Render Layers</source>
        <translation>Ebenen rendern</translation>
    </message>
    <message>
        <source>Browse…</source>
        <translation>Durchsuchen …</translation>
    </message>
    <message>
        <source>PNG, one file for each layer</source>
        <translation>PNG, eine Datei je Ebene</translation>
    </message>
    <message>
        <source>OpenEXR, one file for all layers</source>
        <translation>OpenEXR, eine Datei für alle Ebenen</translation>
    </message>
    <message>
        <source>Render</source>
        <translation>Rendern</translation>
    </message>
    <message>
        <source>&amp;Folder:</source>
        <translation>&amp;Ordner:</translation>
    </message>
    <message>
        <source>&amp;Size:</source>
        <translation>&amp;Größe:</translation>
    </message>
    <message>
        <source>S&amp;amples:</source>
        <translation>&amp;Abtastungen:</translation>
    </message>
    <message>
        <source>For&amp;mat:</source>
        <translation>For&amp;mat:</translation>
    </message>
</context>
<context>
    <name>mkRayPictureFiles</name>
    <message>
        <source>%1 cannot be written: %2.</source>
        <translation>%1 kann nicht geschrieben werden: %2.</translation>
    </message>
    <message>
        <source>it has no channels R, G and B</source>
        <translation>Sie hat keine Kanäle R, G und B</translation>
    </message>
    <message>
        <source>it is too large</source>
        <translation>Sie ist zu groß</translation>
    </message>
    <message>
        <source>%1 cannot be read: %2.</source>
        <translation>%1 kann nicht gelesen werden: %2.</translation>
    </message>
    <message>
        <source>There are no layers to write.</source>
        <translation>Es gibt keine Ebenen zu schreiben.</translation>
    </message>
</context>
<context>
    <name>mkRayPictureJob</name>
    <message>
        <source>A picture is 1 to %1 pixels wide and high.</source>
        <translation>Ein Bild ist 1 bis %1 Pixel breit und hoch.</translation>
    </message>
    <message>
        <source>A picture takes 1 to %1 samples.</source>
        <translation>Ein Bild braucht 1 bis %1 Abtastungen.</translation>
    </message>
    <message>
        <source>The scene has no render layers.</source>
        <translation>Die Szene hat keine Render-Ebenen.</translation>
    </message>
    <message>
        <source>The folder %1 cannot be made.</source>
        <translation>Der Ordner %1 kann nicht angelegt werden.</translation>
    </message>
</context>
<context>
    <name>mkRayScene</name>
    <message>
        <source>Embree cannot be started (error %1).</source>
        <translation>Embree kann nicht gestartet werden (Fehler %1).</translation>
    </message>
    <message>
        <source>There is not enough memory to trace this scene.</source>
        <translation>Für diese Szene reicht der Speicher nicht.</translation>
    </message>
    <message>
        <source>Embree cannot trace this scene.</source>
        <translation>Embree kommt mit dieser Szene nicht zurecht.</translation>
    </message>
</context>
<context>
    <name>mkRaySession</name>
    <message>
        <source>There is no camera &quot;%1&quot;.</source>
        <translation>Es gibt keine Kamera „%1“.</translation>
    </message>
</context>
<context>
    <name>mkRayTracerModule</name>
    <message>
        <source>A format is &quot;png&quot; or &quot;exr&quot;.</source>
        <translation>Ein Format ist „png“ oder „exr“.</translation>
    </message>
</context>
<context>
    <name>mkRayView</name>
    <message>
        <source>There is nothing to see in this scene.</source>
        <translation>In dieser Szene gibt es nichts zu sehen.</translation>
    </message>
    <message>
        <source>Preparing the picture…</source>
        <translation>Das Bild wird vorbereitet…</translation>
    </message>
</context>
<context>
    <name>mkRayViewPanel</name>
    <message>
        <source>Save Picture…</source>
        <translation>Bild speichern …</translation>
    </message>
    <message>
        <source>Render Layers…</source>
        <translation>Ebenen rendern …</translation>
    </message>
    <message>
        <source>Ray-Traced View</source>
        <translation>Raytracing-Ansicht</translation>
    </message>
    <message>
        <source>Frame All</source>
        <translation>Alles einpassen</translation>
    </message>
    <message>
        <source>Frame Selected</source>
        <translation>Auswahl einpassen</translation>
    </message>
    <message>
        <source>All</source>
        <translation>Alles</translation>
    </message>
    <message>
        <source>Show everything (A)</source>
        <translation>Alles zeigen (A)</translation>
    </message>
    <message>
        <source>Selected</source>
        <translation>Auswahl</translation>
    </message>
    <message>
        <source>Show what is selected (F)</source>
        <translation>Die Auswahl zeigen (F)</translation>
    </message>
    <message>
        <source>Camera</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <source>Light</source>
        <translation>Licht</translation>
    </message>
    <message>
        <source> EV</source>
        <translation> EV</translation>
    </message>
    <message>
        <source>Exposure: each step of 1 doubles the light</source>
        <translation>Belichtung: Jeder Schritt von 1 verdoppelt das Licht</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Stop tracing, or go on</source>
        <translation>Anhalten oder weiterrechnen</translation>
    </message>
    <message>
        <source>Pictures</source>
        <translation>Bilder</translation>
    </message>
    <message>
        <source>(without a name)</source>
        <translation>(ohne Namen)</translation>
    </message>
    <message>
        <source>The scene has no cameras</source>
        <translation>Die Szene hat keine Kameras</translation>
    </message>
    <message>
        <source>Studio</source>
        <translation>Studio</translation>
    </message>
    <message>
        <source>Scene&apos;s Lights Only</source>
        <translation>Nur Lichter der Szene</translation>
    </message>
    <message>
        <source>OpenEXR File…</source>
        <translation>OpenEXR-Datei …</translation>
    </message>
    <message>
        <source>Open Environment</source>
        <translation>Umgebung öffnen</translation>
    </message>
    <message>
        <source>OpenEXR pictures (*.exr)</source>
        <translation>OpenEXR-Bilder (*.exr)</translation>
    </message>
    <message>
        <source>%1 of %2 samples  ·  %3 s  ·  %4 × %5</source>
        <translation>%1 von %2 Abtastungen  ·  %3 s  ·  %4 × %5</translation>
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
        <source>Save Picture</source>
        <translation>Bild speichern</translation>
    </message>
    <message>
        <source>PNG pictures (*.png);;OpenEXR pictures (*.exr)</source>
        <translation>PNG-Bilder (*.png);;OpenEXR-Bilder (*.exr)</translation>
    </message>
    <message>
        <source>Rendering layers…</source>
        <translation>Ebenen werden gerendert …</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
</TS>
