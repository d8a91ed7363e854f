// ui/DialogCommands.h
//
// The commands that show dialogs or widgets. \p host and \p options must outlive the interpreter's last call.

#pragma once

class KeldaHost;
class OptionStore;

/// confirmDialog -title TEXT -message TEXT [-messageAlign left] [-button TEXT]... [-defaultButton TEXT]
///     [-cancelButton TEXT]
/// Returns the text of the pressed button, or, if the box is closed, that of the cancel button or "dismiss". Spins the
/// event loop. A host without a window posts the message as information and returns as if the box was closed.
void registerConfirmDialog(KeldaHost &host);

/// The procedures that put the options of a translator into a layout of a plug-in's dialog, found by its object name,
/// and store the values when the plug-in calls the last one. Each option's widget is named "KeldaOption_" and its key.
///
/// initCurrentFileTypeOption ACTION "" ""
/// fileOperationsOptionsUISetup ACTION LAYOUT
/// fileOperationsOptionsUIInitValues, setCurrentFileTypeOption ACTION LAYOUT TRANSLATOR
/// fileOperationsSelectionChangedCallback ACTION LAYOUT PATH
/// fileOperationsOptionsUICallback ACTION LAYOUT
void registerOptionBoxCommands(KeldaHost &host, OptionStore &options);
