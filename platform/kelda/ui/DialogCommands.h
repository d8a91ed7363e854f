// ui/DialogCommands.h
//
// The commands that show dialogs or widgets. \p host and \p options must outlive the interpreter's last call.

#pragma once

class KeldaHost;
class OptionStore;

/// confirmDialog -title TEXT -message TEXT [-messageAlign left] [-button TEXT]... [-defaultButton TEXT]
///     [-cancelButton TEXT]
/// Returns the text of the pressed button. If the box is closed, returns the text of the cancel button or "dismiss".
/// Spins the event loop. A host without a window posts the message as information and returns as if the box was closed.
void registerConfirmDialog(KeldaHost &host);

/// The procedures that show the options of a translator in a plug-in's dialog, in the layout with the object name
/// LAYOUT. The last procedure stores the values. Each option's widget is named "KeldaOption_" and its key.
///
/// initCurrentFileTypeOption ACTION "" ""
/// fileOperationsOptionsUISetup ACTION LAYOUT
/// fileOperationsOptionsUIInitValues, setCurrentFileTypeOption ACTION LAYOUT TRANSLATOR
/// fileOperationsSelectionChangedCallback ACTION LAYOUT PATH
/// fileOperationsOptionsUICallback ACTION LAYOUT
void registerOptionBoxCommands(KeldaHost &host, OptionStore &options);
