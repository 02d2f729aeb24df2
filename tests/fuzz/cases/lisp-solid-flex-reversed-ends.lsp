;; A flexible duct whose end directions point back along the run: memory grows without end.
(vl-catch-all-apply 'kv_solid-test-flex (list (list (list 0 0 0) (list 1000 0 0)) 12.0 (list -1 0 0) (list 1 0 0)))
(princ "\nkvfuzz: batch done\n")
