#pragma once

/// Has screen readers find a text in each QueuedFilesView. More than once does no harm.
void installAccessibleQueuedFiles();
