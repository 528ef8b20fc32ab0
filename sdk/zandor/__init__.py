"""Host-side SDK of the Orvo simulator: boards that come with it, and how to find them."""
