#pragma once

class QString;

/// The bus name of the program @p programName: one for the product itself, another one for each other name, however it
/// is spelled. Launchers and what else belongs to one program are named after it.
QString busName(const QString& programName);
