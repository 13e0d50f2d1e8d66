// Placeholder translation unit for targets whose sources are all elsewhere.
