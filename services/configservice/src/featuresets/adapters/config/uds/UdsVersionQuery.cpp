#include "uds/UdsVersionQuery.h"

#include <utility>

UdsVersionQuery::UdsVersionQuery(std::shared_ptr<UnifiedFactory> factory, std::shared_ptr<DownloadJournal> journal)
    : factory_(std::move(factory)), journal_(std::move(journal)) {}
