#pragma once

namespace bench {

struct Scale;

// Each registers the benchmarks of one subject, in every row that it can do.

// The module itself.
void addModuleChain(const Scale& scale);
void addModuleLive(const Scale& scale);
void addModuleFiles(const Scale& scale);
void addModuleStores(const Scale& scale);
void addModuleMemory(const Scale& scale);

// What hand-written code costs.
void addHashChain(const Scale& scale);
void addMergedHash(const Scale& scale);
void addMapChain(const Scale& scale);
void addBareParse(const Scale& scale);
void addMergeWalk(const Scale& scale);
void addSingleBuffer(const Scale& scale);

// What a C++ developer would otherwise pick; in programs that are built with the peers.
void addPoco(const Scale& scale);
void addQSettings(const Scale& scale);
void addKConfig(const Scale& scale);
void addGKeyFile(const Scale& scale);
void addGSettings(const Scale& scale);
void addPropertyTree(const Scale& scale);

}  // namespace bench
