;;; The application layer's duct graph, settings and alignments on their own: links and their
;;; limits, looking through transparent ducts (also round a loop), forgetting, settings refused
;;; by kind, conversions with and without an alignment. Exit 1 when a result is wrong.

(setq failures 0)
(defun check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq failures (1+ failures))))
  ok)

(ductgraph-reset)
(check "link" (ductgraph-connect 1 2))
(check "a link twice is refused" (not (ductgraph-connect 1 2)))
(check "no duct follows itself" (not (ductgraph-connect 3 3)))
(ductgraph-connect 1 3)
(ductgraph-connect 1 4)
(check "a fourth outlet is refused" (not (ductgraph-connect 1 5)))
(check "three outlets in order" (equal (getNextDuctsTransparent 1 nil nil) '(2 3 4)))
(check "missing outlets are 0" (equal (getNextDuctsTransparent 2 nil T) '(0 0 0)))
(check "inlet" (= (getPrevDuct 3 nil) 1))
(check "no inlet" (null (getPrevDuct 1 nil)))

;; 2 is a damper: looked through, its outlets take its place; a loop through transparent ducts
;; ends at the duct already seen.
(ductgraph-setTransparent 2 T)
(ductgraph-connect 2 6)
(ductgraph-connect 2 7)
(check "looked through" (equal (getNextDuctsTransparent 1 nil T) '(6 7 3)))
(check "not looked through" (equal (getNextDuctsTransparent 1 nil nil) '(2 3 4)))
(ductgraph-setTransparent 6 T)
(ductgraph-connect 6 2)
(check "a loop of transparent ducts ends" (equal (getNextDuctsTransparent 1 nil T) '(7 3 4)))
(check "unlink" (ductgraph-disconnect 1 3))
(check "unlinked outlet and inlet" (and (equal (getNextDuctsTransparent 1 nil nil) '(2 4 0))
                                        (null (getPrevDuct 3 nil))))
(check "unlink what is not linked" (not (ductgraph-disconnect 1 3)))
(ductgraph-setDiffuser 7 41)
(check "diffuser at an end" (= (duct-getIxDiffL 7) 41))
(ductgraph-reset)
(check "forgotten" (and (equal (getNextDuctsTransparent 1 nil T) '(0 0 0)) (null (duct-getIxDiffL 7))
                        (null (getPrevDuct 2 nil))))

;; Settings: kinds are checked, a later key replaces an earlier one, nil until set.
(duct-clearSettings)
(check "no settings" (null (duct-getSettings nil)))
(duct-setSettings '(("WIDTH" 14) ("SHAPE" "RC") ("ixLayerSystem" 2.5) ("COLOUR" "red")
                    ("MATERIAL" "a text of more than nineteen") ("WIDTH" 16.0)))
(check "settings kept by kind" (equal (duct-getSettings nil) '(("SHAPE" "RC") ("WIDTH" 16.0))))

;; Alignments: none set is the identity, numbers unknown too; a set one turns and moves.
(duct-clearAlignments)
(check "identity point" (equal (convert_rp_dp '(1 2 3) 0) '(1.0 2.0 3.0)))
(check "identity angle" (equal (convert_ra_da 0.5 4) 0.5))
(duct-setAlignment 2 '(100.0 50.0 10.0) (/ pi 2))
(check "turned and moved" (equal (convert_rp_dp '(1.0 2.0 3.0) 2) '(98.0 51.0 13.0) 1e-9))
(check "angle turned" (equal (convert_ra_da 0.5 2) (+ 0.5 (/ pi 2)) 1e-12))
(check "another number stays" (equal (convert_rp_dp '(1.0 2.0 3.0) 1) '(1.0 2.0 3.0)))
(check "quotes doubled for SQL" (= (ducts-sqlText "a\"b\"") "\"a\"\"b\"\"\""))

(if (> failures 0) (exit 1))
(princ "\nduct layer: all checks passed")
