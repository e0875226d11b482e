// SPDX-License-Identifier: MIT
#pragma once

class QObject;

/// Who is asked next by an object that doesn't handle an event or action itself. Main thread only.

/// The object that was set as the next one, or else a widget's parent; nullptr if there is none, or no longer.
QObject *NSResponderNext(const QObject *responder);
/// Sets the next responder, which isn't kept alive; nullptr makes it the widget's parent again. Nothing happens for a nil responder.
void NSResponderSetNext(QObject *responder, QObject *next);
