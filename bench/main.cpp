// One program for all benchmarks, with the library started around them.
#include <benchmark/benchmark.h>

#include "talvo_xml.h"

int main(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv) || talvo_xml_init() != 1) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  return talvo_xml_end() == 1 ? 0 : 1;
}
