#pragma once

class QDomNode;
class QString;

// True, and the value in *value, when the node carries an attribute of that name; an empty value
// counts. Otherwise false, and *value as it was.
bool getAttribute(const QDomNode &node, const QString &name, QString *value);
