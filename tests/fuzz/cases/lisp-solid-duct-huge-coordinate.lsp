;; A straight duct from a point at -1.65e97: the prism sweep meets a degenerate profile.
(vl-catch-all-apply 'kv_solid-test-duct (list (list -1.654795e+97 98.72 -130.04) (list -7.31 -2.682076e-210 389.17) 100.0 100.0))
(princ "\nkvfuzz: batch done\n")
