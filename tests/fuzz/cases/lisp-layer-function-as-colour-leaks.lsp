;; sanitizer report: ==11918==ERROR: LeakSanitizer: detected memory leaks
;; kvfuzz lisp seed 13 batch 47
;; kvfuzz prelude
(setq *fz-inf* (* 1e308 10.0) *fz-ninf* (- *fz-inf*) *fz-nan* (- *fz-inf* *fz-inf*))
(setq *fz-long* "kvfuzz01") (repeat 13 (setq *fz-long* (strcat *fz-long* *fz-long*)))
(setq *fz-long1k* (substr *fz-long* 1 1000))
(setq *fz-deep* nil) (repeat 10001 (setq *fz-deep* (list *fz-deep*)))
(setq *fz-deep100* nil) (repeat 100 (setq *fz-deep100* (list 1 *fz-deep100*)))
(setq *fz-home* (kvhost-current))
(entmake '((0 . "LINE") (10 0.0 0.0 0.0) (11 10.0 10.0 0.0))) (setq *fz-live* (entlast))
(entmake '((0 . "LINE") (10 5.0 0.0 0.0) (11 5.0 10.0 0.0))) (setq *fz-erased* (entlast)) (entdel *fz-erased*)
(setq *fz-ss* (ssget "X"))
(kvhost-open "fz-closed.dwg") (setq *fz-other* (kvhost-current))
(entmake '((0 . "LINE") (10 1.0 1.0 0.0) (11 2.0 2.0 0.0)))
(setq *fz-closed-ename* (entlast) *fz-closed-ss* (ssget "X"))
(kvhost-activate *fz-home*) (kvhost-close *fz-other*)
(setq *fz-file* (open "fz-file.txt" "w") *fz-closed-file* (open "fz-closed.txt" "w")) (close *fz-closed-file*)
(setq *fz-error* (vl-catch-all-apply '/ '(1 0)))
;; kvfuzz calls
(vl-catch-all-apply 'kvhost-layer (list "n" cond))
(princ "\nkvfuzz: batch done\n")
