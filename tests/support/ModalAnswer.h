#pragma once

#include <functional>
#include <memory>

class QDialog;

// Answers the next modal dialog without a person: a timer finds the active modal widget while the
// dialog's own event loop runs and hands it to `action`, which fills fields and accepts or rejects.
// Returns a flag that turns true once the dialog was answered, for the test to check.
std::shared_ptr<bool> answerNextModal(std::function<void(QDialog*)> action, int timeoutMs = 5000);

// Answers every modal dialog that shows while the returned handle lives, for tests that drive
// gestures whose questions they cannot foresee one by one (random sequences, walks). Each dialog is
// handed to `action` once; dropping the handle stops the answering.
std::shared_ptr<void> answerEveryModal(std::function<void(QDialog*)> action);

// Withdraws every answer that still waits. A test that arms an answer against a dialog that must
// not come (so that a wrong one is closed rather than hanging the run) withdraws it afterwards, so
// that it cannot answer a dialog of a later test.
void withdrawModalAnswers();
