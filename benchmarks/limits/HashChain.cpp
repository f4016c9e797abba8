#include "limits/HashChain.h"

#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {

void addHashChain(const Scale& scale) {
    addLookups<HashChain>(scale, "limit: hash chain");
    addAnswer<HashChain>(scale, "limit: hash chain");
    addSet<HashChain>(scale, "limit: hash chain");
    addSet<HashChainOfValues>(scale, "hash chain, value alone");
    addLookups<QuickHashChain>(scale, "hash chain, eight letters at a time");
    addAnswer<QuickHashChain>(scale, "hash chain, eight letters at a time");
    addSet<QuickHashChain>(scale, "hash chain, eight letters at a time");
}

}  // namespace bench
