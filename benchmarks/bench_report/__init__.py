"""What the report of a benchmark run is made of."""
