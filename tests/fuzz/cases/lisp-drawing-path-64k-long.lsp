;; A drawing named by a path 64k characters long: every activation's to-do quotes the path for
;; SQL and takes its folder's name, which went character by character, each step copying it.
(setq name "kvfuzz01") (repeat 13 (setq name (strcat name name)))
(vl-catch-all-apply 'kvhost-open (list name))
(vl-catch-all-apply 'kvhost-new (list))
(princ "\nkvfuzz: batch done\n")
