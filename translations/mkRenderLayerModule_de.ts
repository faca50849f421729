<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>QMKDockWindowManager</name>
    <message>
        <source>Render Layer</source>
        <translation>Render-Ebene</translation>
    </message>
    <message>
        <source>Rendering</source>
        <translation>Rendern</translation>
    </message>
</context>
<context>
    <name>RenderLayer</name>
    <message>
        <source>On</source>
        <translation>An</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
</context>
<context>
    <name>mkAttributesGUI</name>
    <message>
        <source>Attributes</source>
        <translation>Attribute</translation>
    </message>
    <message>
        <source>Visible in Alpha</source>
        <translation>Sichtbar in Alpha</translation>
    </message>
    <message>
        <source>Visible</source>
        <translation>Sichtbar</translation>
    </message>
    <message>
        <source>Primary Visibility</source>
        <translation>Primär sichtbar</translation>
    </message>
    <message>
        <source>Cast Shadows</source>
        <translation>Wirft Schatten</translation>
    </message>
    <message>
        <source>Receive Shadows</source>
        <translation>Empfängt Schatten</translation>
    </message>
    <message>
        <source>Visible in Refractions</source>
        <translation>Sichtbar in Brechungen</translation>
    </message>
    <message>
        <source>Double Sided</source>
        <translation>Doppelseitig</translation>
    </message>
    <message>
        <source>Visible in Reflections</source>
        <translation>Sichtbar in Spiegelungen</translation>
    </message>
    <message>
        <source>Cast Shadows on Shadow Material</source>
        <translation>Wirft Schatten auf Schattenmaterial</translation>
    </message>
    <message>
        <source>Use Override Material</source>
        <translation>Ersatzmaterial verwenden</translation>
    </message>
    <message>
        <source>Visible for Photons</source>
        <translation>Sichtbar für Photonen</translation>
    </message>
</context>
<context>
    <name>mkNodeItem</name>
    <message>
        <source>Empty</source>
        <translation>Leer</translation>
    </message>
    <message>
        <source>Render Layer</source>
        <translation>Render-Ebene</translation>
    </message>
    <message>
        <source>Adding the root node is not allowed!</source>
        <translation>Der Wurzelknoten darf nicht hinzugefügt werden!</translation>
    </message>
</context>
<context>
    <name>mkNodeListWidget</name>
    <message>
        <source>Layer</source>
        <translation>Ebene</translation>
    </message>
    <message>
        <source>OverrideMaterial</source>
        <translation>Ersatzmaterial</translation>
    </message>
    <message>
        <source>Create Layer</source>
        <translation>Ebene anlegen</translation>
    </message>
    <message>
        <source>Rename Layer	</source>
        <translation>Ebene umbenennen	</translation>
    </message>
    <message>
        <source>Delete	</source>
        <translation>Löschen	</translation>
    </message>
    <message>
        <source>Duplicate Layer	</source>
        <translation>Ebene duplizieren	</translation>
    </message>
    <message>
        <source>Select All	</source>
        <translation>Alles auswählen	</translation>
    </message>
    <message>
        <source>Move Up	</source>
        <translation>Nach oben	</translation>
    </message>
    <message>
        <source>Move Down	</source>
        <translation>Nach unten	</translation>
    </message>
    <message>
        <source>Apply Attributes to Selected ...</source>
        <translation>Attribute auf Auswahl anwenden ...</translation>
    </message>
    <message>
        <source>Add Selected Nodes</source>
        <translation>Ausgewählte Knoten hinzufügen</translation>
    </message>
    <message>
        <source>Select Nodes	</source>
        <translation>Knoten auswählen	</translation>
    </message>
    <message>
        <source>Cleanup</source>
        <translation>Aufräumen</translation>
    </message>
    <message>
        <source>Clear Override Material</source>
        <translation>Ersatzmaterial entfernen</translation>
    </message>
    <message>
        <source>Render Layer</source>
        <translation>Render-Ebene</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Duplicate Layer</source>
        <translation>Ebene duplizieren</translation>
    </message>
    <message>
        <source>Rename Layer</source>
        <translation>Ebene umbenennen</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
    <message>
        <source>Select Nodes</source>
        <translation>Knoten auswählen</translation>
    </message>
    <message>
        <source>Move Item Up</source>
        <translation>Eintrag nach oben</translation>
    </message>
    <message>
        <source>Move Item Down</source>
        <translation>Eintrag nach unten</translation>
    </message>
    <message>
        <source>Select node &apos;</source>
        <translation>Knoten auswählen: &apos;</translation>
    </message>
    <message>
        <source>Select nodes of layer &apos;</source>
        <translation>Knoten der Ebene auswählen: &apos;</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>On</source>
        <translation>An</translation>
    </message>
    <message>
        <source>Name is not unique, please choose a different one.</source>
        <translation>Der Name ist schon vergeben, bitte wählen Sie einen anderen.</translation>
    </message>
    <message>
        <source>Visible</source>
        <translation>Sichtbar</translation>
    </message>
    <message>
        <source>VisibleInAlpha</source>
        <translation>SichtbarInAlpha</translation>
    </message>
    <message>
        <source>PrimaryVisibility</source>
        <translation>PrimärSichtbar</translation>
    </message>
    <message>
        <source>VisibleInReflections</source>
        <translation>SichtbarInSpiegelungen</translation>
    </message>
    <message>
        <source>VisibleInRefractions</source>
        <translation>SichtbarInBrechungen</translation>
    </message>
    <message>
        <source>CastShadows</source>
        <translation>WirftSchatten</translation>
    </message>
    <message>
        <source>ReceiveShadows</source>
        <translation>EmpfängtSchatten</translation>
    </message>
    <message>
        <source>DoubleSided</source>
        <translation>Doppelseitig</translation>
    </message>
    <message>
        <source>VisibleForPhotons</source>
        <translation>SichtbarFürPhotonen</translation>
    </message>
    <message>
        <source>CastShadowsOnShadowMaterial</source>
        <translation>WirftSchattenAufSchattenmaterial</translation>
    </message>
    <message>
        <source>UseOverrideMaterial</source>
        <translation>ErsatzmaterialVerwenden</translation>
    </message>
</context>
<context>
    <name>mkRenderLayerGUI</name>
    <message>
        <source>Render Layer</source>
        <translation>Render-Ebene</translation>
    </message>
</context>
<context>
    <name>mkRenderLayerModule</name>
    <message>
        <source>Layers</source>
        <translation>Ebenen</translation>
    </message>
    <message>
        <source>QuickActions</source>
        <translation>Schnellaktionen</translation>
    </message>
    <message>
        <source>Create Layer</source>
        <translation>Ebene anlegen</translation>
    </message>
    <message>
        <source>Creates a new layer</source>
        <translation>Legt eine neue Ebene an</translation>
    </message>
    <message>
        <source>Duplicate Layer</source>
        <translation>Ebene duplizieren</translation>
    </message>
    <message>
        <source>Duplicates the currently selected layer</source>
        <translation>Dupliziert die ausgewählte Ebene</translation>
    </message>
    <message>
        <source>Select Nodes</source>
        <translation>Knoten auswählen</translation>
    </message>
    <message>
        <source>Selects the nodes</source>
        <translation>Wählt die Knoten aus</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Deletes the currently selected layer or node</source>
        <translation>Löscht die ausgewählte Ebene oder den ausgewählten Knoten</translation>
    </message>
    <message>
        <source>Reset Layer</source>
        <translation>Ebenen zurücksetzen</translation>
    </message>
    <message>
        <source>Deactivates all layers</source>
        <translation>Deaktiviert alle Ebenen</translation>
    </message>
    <message>
        <source>Activate Layer</source>
        <translation>Ebene aktivieren</translation>
    </message>
    <message>
        <source>Activates the layer</source>
        <translation>Aktiviert die Ebene</translation>
    </message>
    <message>
        <source>Render Layer</source>
        <translation>Render-Ebene</translation>
    </message>
    <message>
        <source>Delete selection?</source>
        <translation>Auswahl löschen?</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
</TS>
