#include "output/onepasswriter.h"

#include "output/onepassplan.h"
#include "output/onepassstages.h"
#include "output/onepasstext.h"
#include "output/rulesoutputadapter.h"
#include "translate/ruleexportmanager.h"

namespace TreeOut_800 {

OnePassSettings::OnePassSettings()
    : fnStopMissing(STOP_PREDICT), fnStopOther(STOP_PREDICT), fnMaxNesting(0) {}

OnePassSettings::~OnePassSettings() = default;

OnePassWriter::OnePassWriter(tree_800::TreeAlgorithmBase const* tree,
                             mdt_800::ModelMetadata const* metadata)
    : fnTree(tree),
      fnMetadata(metadata),
      fnAdapter(new RulesOutputAdapter(tree, metadata)),
      fnManager(new RuleExportManager(tree, metadata)) {}

OnePassWriter::~OnePassWriter() = default;

StringWrapper OnePassWriter::ExportOnePass(RuleExportOptions const& options,
                                           OnePassSettings const& settings) const {
  if (options.fnDialect < DIALECT_SQL || options.fnDialect > DIALECT_GENERIC) {
    return StringWrapper();
  }
  OnePassPlan const plan(*fnAdapter, *fnManager, *fnTree, *fnMetadata, options, settings);
  if (options.fnDialect != DIALECT_SQL) return StringWrapper(OnePassBlocks(plan));
  OnePassStages const stages = PlanStages(plan, settings.fnMaxNesting);
  return StringWrapper(OnePassSql(plan, stages, options.fnUpdateMode != 0));
}

StringWrapper OnePassWriter::ExportStopStatements(RuleExportOptions const& options,
                                                  OnePassSettings const& settings) const {
  if (options.fnDialect < DIALECT_SQL || options.fnDialect > DIALECT_GENERIC) {
    return StringWrapper();
  }
  OnePassPlan const plan(*fnAdapter, *fnManager, *fnTree, *fnMetadata, options, settings);
  return StringWrapper(OnePassStopStatements(plan, *fnAdapter, fnTree->GetRoot()));
}

}  // namespace TreeOut_800
