"""The parts of benchmarks/fleet: costs, a client, a server, the course of a start, and the tables made of it."""
