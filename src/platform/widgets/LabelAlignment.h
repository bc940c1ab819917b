#pragma once

class QWidget;

/// Has the labels that are in @p window stand as it does where that is from right to left. The toolkit places a label's
/// text by the direction of the text: an English one would stand far from what it belongs to.
void alignLabelsToDirection(const QWidget& window);
