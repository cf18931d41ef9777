#pragma once

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstanceArea.h"
#include "BlockLibraryContainer.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "Project.h"
#include "Text.h"

#include <memory>

// The start of every synthetic code of the benchmarks: an empty project whose first area holds the
// code, and a standard library with an AND (StandardBlock_1, inputs E1 and E2, output A). A
// benchmark adds its own blocks to `standard` and activates the project when it is complete.
struct BenchProject
{
    std::unique_ptr<Project> project;
    BlockInstanceArea* area = nullptr;
    BlockLibraryContainer* standard = nullptr;
    BlockDefinition* andDef = nullptr;

    BenchProject()
    {
        project.reset(Project::createEmpty());
        area = project->areas().first();
        standard = new BlockLibraryContainer(QStringLiteral("1"), 0, Text(LanguageManager::German, QStringLiteral("Standard")));
        project->addContainer(standard);
        Block* andBlock = ModelBuilder::primitive(standard->library(), QStringLiteral("StandardBlock_1"), QStringLiteral("UND"),
                                                  {{QStringLiteral("E1")}, {QStringLiteral("E2")}}, {{QStringLiteral("A")}},
                                                  QStringLiteral("and"));
        andDef = andBlock->blockDefinition(0);
    }

    BlockCode* code() const { return area->rootDefinition()->code(); }
};
