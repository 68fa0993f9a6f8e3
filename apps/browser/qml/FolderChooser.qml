import QtCore
import QtQuick.Dialogs

// Asks for a folder of recordings.
FolderDialog {
    title: "Open a folder of recordings"
    currentFolder: StandardPaths.writableLocation(StandardPaths.MoviesLocation)
}
