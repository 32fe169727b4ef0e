#pragma once

class QWidget;

// Lowers the form's font size until every label, box and button has the place for its text that
// the form gives it: the forms have fixed sizes, fonts have not.
void fitTexts(QWidget *form);
