#pragma once

class QWidget;

// Makes each text of a form, label, box or button, smaller until it has the place that the form
// gives it: the forms have fixed sizes, fonts have not. A text that fits keeps its size. Where the
// layout runs from right to left the form is mirrored. Call it once, when the texts are there.
void fitTexts(QWidget *form);
