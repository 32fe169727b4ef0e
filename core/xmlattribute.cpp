#include "xmlattribute.h"

#include <QDomNode>
#include <QString>

bool getAttribute(const QDomNode &node, const QString &name, QString *value)
{
    const QDomNode attribute = node.attributes().namedItem(name);
    if (attribute.isNull())
        return false;
    *value = attribute.nodeValue();
    return true;
}
