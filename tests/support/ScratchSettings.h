#pragma once

#include <QString>

// Points the user's and the system's settings, in both formats, into `folder`: editors write their
// layout when they go, and a test must leave the user's own settings untouched.
void redirectSettings(const QString& folder);
