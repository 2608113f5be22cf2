// replaced by the pages
