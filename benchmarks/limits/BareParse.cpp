#include <libxml/parser.h>

#include "support/Documents.h"
#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {

void addBareParse(const Scale& scale) {
    for (const std::size_t count : {scale.small, scale.large}) {
        add(loadRow(count), "limit: bare parse", [count](benchmark::State& state) {
            const std::string& path = xmlFile(count);
            for (auto _ : state) {
                xmlFreeDoc(xmlReadFile(path.c_str(), nullptr, 0));
            }
        })->Unit(benchmark::kMillisecond);
    }
}

}  // namespace bench
