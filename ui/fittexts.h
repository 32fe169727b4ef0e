#pragma once

class QWidget;

// Lowers the font size of every label and check box inside the widget until its text fits the
// place that the form gives it: the forms have fixed sizes, fonts have not.
void fitTexts(QWidget *form);
