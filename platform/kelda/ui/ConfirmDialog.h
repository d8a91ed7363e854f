// ui/ConfirmDialog.h
//
// The command confirmDialog: a question with buttons of the caller's choice.

#pragma once

class KeldaHost;

/// confirmDialog -title TEXT -message TEXT [-messageAlign left|center|right] [-button TEXT]... [-defaultButton TEXT]
///     [-cancelButton TEXT]
/// Answers the text of the button pressed; the cancel button's when the box is closed, "dismiss" without one. Spins the
/// event loop. In a host without a window it posts the message as information and answers what closing it would.
void registerConfirmDialog(KeldaHost &host);
