// placeholder, replaced by its owner
