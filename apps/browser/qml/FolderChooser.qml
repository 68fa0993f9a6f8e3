import QtQuick.Dialogs

FolderDialog { title: "Open a folder of recordings" }
