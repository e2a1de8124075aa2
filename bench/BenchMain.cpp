// Benchmarks live beside this file, one file per area; Google Benchmark supplies main().
