#include "fuzz.h"
#include "siteprofile.h"

void fuzz(const QByteArray &input)
{
    SiteProfile profile;
    if (profile.read(input) != SiteProfile::NoError)
        return;
    for (const SiteDomain &domain : profile.domains) {
        for (const ScriptFileEntry &entry : domain.files)
            holds(staysInFolder(entry.name));
    }
}
