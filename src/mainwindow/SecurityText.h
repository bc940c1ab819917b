#pragma once

#include "DrawnIcons.h"
#include "FTPStream.h"

#include <QString>

#include <optional>

/// How the last connection was protected, as a sentence or two; std::nullopt: there has been none.
QString securityText(const std::optional<FTPSecurity>& security);

/// The padlock that stands for it.
Padlock securityPadlock(const std::optional<FTPSecurity>& security);
