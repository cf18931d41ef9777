#pragma once

#include "zkblockmodel_export.h"

#include <QString>

// Where file dialogs start for a kind of file, as the host sets it up.
class ZK_MODEL_EXPORT DefaultPathSetting
{
public:
    enum eSettingDefaultPaths { DefaultPathDocuments = 0, DefaultPathExport = 1 };

    // Owned by the caller; null for a kind this version does not know.
    static DefaultPathSetting* create(eSettingDefaultPaths kind);
    virtual ~DefaultPathSetting();

    eSettingDefaultPaths kind() const { return m_kind; }
    // Documents: the user's documents folder, or the home folder where there is none. Export: the
    // host's export folder (System::exportDirectory()).
    virtual QString path() const;

protected:
    explicit DefaultPathSetting(eSettingDefaultPaths kind);

private:
    eSettingDefaultPaths m_kind;
};
